#pragma once

#include "NVCRuleBase.h"

#include <QByteArrayView>
#include <vector>

// What one line of a rule file holds, built without touching the store, so
// that the parts of a file can be parsed side by side and then taken into the
// store in file order.
struct ParsedRuleLine
{
    enum class Kind : quint8
    {
        Policy,
        Watch,
        Option,
        Trace,
        Malformed
    };

    Kind kind;
    // Option, trace and malformed lines are read again from their bytes, in order.
    QByteArrayView line;
    // A policy or watch rule, without its sequence number yet.
    RuleBasePtr rule;
};

// The lines of `part`, a run of whole lines of `file` (UTF-8), that hold
// something: comments and blank lines are left out.
std::vector<ParsedRuleLine> parseRuleLines(QByteArrayView file, QByteArrayView part, bool system);

// The file in `count` runs of whole lines of about equal size (fewer when it
// has fewer line ends).
std::vector<QByteArrayView> splitAtLineEnds(QByteArrayView file, int count);

// The number of the line starting at `lineStart`, counted as an editor would,
// a CR LF pair being one line end.
qsizetype lineNumberAt(QByteArrayView file, const char *lineStart);
