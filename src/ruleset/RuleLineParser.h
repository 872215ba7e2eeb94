#pragma once

#include "NVCRuleBase.h"
#include "RecordArena.h"
#include "RuleReadSupport.h"
#include "RuleTokenizer.h"

#include <QByteArrayView>
#include <array>
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
    // A line split into its tokens, with the hashes of its process and
    // constraint texts.
    struct SplitLine
    {
        QByteArrayView line;
        Utf8RuleTokens tokens;
        size_t processHash = 0;
        size_t constraintHash = 0;

        QByteArrayView token(qsizetype i) const { return tokens.view(line, i); }
        bool hasProcess() const { return tokens.size() > 3; }
        bool hasConstraint() const { return tokens.size() > 6; }
    };
    // False for a line without tokens.
    bool split(QByteArrayView line, SplitLine &into);
    void askForKeptTexts(const SplitLine &split) const;
    void read(const SplitLine &split, std::vector<ParsedRuleLine> &parsed);

    Utf8TextPool m_strings;
    // Lines go through three steps, a line apart: see parse().
    std::array<SplitLine, 3> m_lines;
    RecordArena m_records;
    bool m_system;
};

// `text` in `count` runs of whole lines of about equal size (fewer when it
// has fewer line ends).
std::vector<QByteArrayView> splitAtLineEnds(QByteArrayView text, int count);

// The number of the line starting at `lineStart`, counted as an editor would,
// a CR LF pair being one line end.
qsizetype lineNumberAt(QByteArrayView file, const char *lineStart);
