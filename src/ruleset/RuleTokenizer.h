#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>
#include <QVarLengthArray>

// One token of a rule-file line, in UTF-16 or in the file's UTF-8 bytes. Most
// tokens are a slice of the line; only text assembled from separate pieces (a
// quoted field carried over to the next one) owns its characters.
template <typename View, typename Owned> struct BasicRuleToken
{
    qsizetype start = 0;
    qsizetype length = 0;
    Owned assembled;
    bool isAssembled = false;

    View view(View line) const { return isAssembled ? View(assembled) : line.sliced(start, length); }
};

using RuleToken = BasicRuleToken<QStringView, QString>;
using RuleTokens = QVarLengthArray<RuleToken, 10>;
using Utf8RuleToken = BasicRuleToken<QByteArrayView, QByteArray>;
using Utf8RuleTokens = QVarLengthArray<Utf8RuleToken, 10>;

// Splits one line at spaces and double quotes; the reader's grammar, quirks
// included. Both delimiters are ASCII, so the bytes of a UTF-8 line split
// exactly as its text does.
void tokenizeRuleLine(QStringView line, RuleTokens &tokens);
void tokenizeRuleLine(QByteArrayView line, Utf8RuleTokens &tokens);
