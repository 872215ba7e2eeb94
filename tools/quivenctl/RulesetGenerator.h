#pragma once

#include <QByteArray>
#include <QtGlobal>

// Builds a deterministic, realistic ruleset text for benchmarks, demos and
// round-trip tests: many applications with groups of very different sizes,
// parent-process forms, every kind of constraint, tags with spaces, some watch
// rules and some `set` lines. The same options always give the same bytes.
struct RulesetGeneratorOptions
{
    qsizetype rules = 0; // rule lines (policy and watch) to emit
    quint64 seed = 1;
    qsizetype sharedGroupRules = 0; // of those, policy rules that all share one group
};

QByteArray generateRuleset(const RulesetGeneratorOptions &options);
