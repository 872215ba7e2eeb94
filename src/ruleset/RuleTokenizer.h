#pragma once

#include <QString>
#include <QStringView>
#include <QVarLengthArray>

// One token of a rule-file line. Most tokens are a slice of the line; only text
// assembled from separate pieces (a quoted field carried over to the next one)
// owns its characters.
struct RuleToken
{
    qsizetype start = 0;
    qsizetype length = 0;
    QString assembled;
    bool isAssembled = false;

    QStringView view(QStringView line) const
    {
        return isAssembled ? QStringView(assembled) : line.sliced(start, length);
    }
};

using RuleTokens = QVarLengthArray<RuleToken, 10>;

// Splits one line at spaces and double quotes; the reader's grammar, quirks included.
void tokenizeRuleLine(QStringView line, RuleTokens &tokens);
