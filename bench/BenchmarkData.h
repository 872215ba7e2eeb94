#pragma once

#include <QByteArray>
#include <QString>
#include <memory>

class RuleManager;

// Inputs shared by the benchmarks: generated rulesets (same seed for every
// size) kept in memory and on disk, built once per size.
namespace bench {

constexpr quint64 kSeed = 20240501;

const QByteArray &rulesetText(qint64 rules, qint64 sharedGroupRules);
const QString &rulesetFile(qint64 rules, qint64 sharedGroupRules);
// A manager loaded from rulesetFile as the user's rules.
std::unique_ptr<RuleManager> loadedManager(qint64 rules, qint64 sharedGroupRules);
// A path in the benchmark's scratch folder.
QString scratchFile(const QString &name);

// Resident set size of this process in bytes, after returning freed heap
// memory to the system so that deltas reflect live allocations.
qint64 residentBytes();
// Heap bytes in use over all of malloc's arenas, chunk overhead included. Unlike
// the resident size it does not depend on what earlier runs left free.
qint64 heapBytesInUse();

} // namespace bench
