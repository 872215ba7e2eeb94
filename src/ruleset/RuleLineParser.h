#pragma once

#include "NVCRuleBase.h"
#include "RecordArena.h"
#include "RuleReadSupport.h"
#include "RuleTokenizer.h"

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
    // The store group a taken policy rule joins at the end of the read; -1
    // while it joins none.
    qint32 group = -1;
    // Option, trace and malformed lines are read again from their bytes, in order.
    QByteArrayView line;
    // A policy or watch rule, without its sequence number yet.
    RuleBasePtr rule = nullptr;
    // The rule's duplicate hash and the hash of its group's texts, made while
    // its fields are at hand.
    size_t duplicateHash = 0;
    size_t groupHash = 0;
};

// Rule lines are seldom shorter than this: lists of a file's lines are made
// this large at once instead of growing on the way.
constexpr qsizetype kShortRuleLineBytes = 96;

// Parses runs of whole lines of one file (UTF-8). The texts it decodes are
// shared over every run it parses, so that the rules of one application keep
// sharing their process name, constraint and tag data.
class RuleLineParser
{
public:
    explicit RuleLineParser(bool system);

    // The lines of `part` that hold something: comments and blank lines are
    // left out. The lines are views of `part`, which must outlive them.
    std::vector<ParsedRuleLine> parse(QByteArrayView part);

private:
    Utf8TextPool m_strings;
    Utf8RuleTokens m_tokens;
    RecordArena m_records;
    bool m_system;
};

// `text` in `count` runs of whole lines of about equal size (fewer when it
// has fewer line ends).
std::vector<QByteArrayView> splitAtLineEnds(QByteArrayView text, int count);

// The number of the line starting at `lineStart`, counted as an editor would,
// a CR LF pair being one line end.
qsizetype lineNumberAt(QByteArrayView file, const char *lineStart);
