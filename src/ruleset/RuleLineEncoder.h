#pragma once

#include "PolicyRule.h"

#include <QByteArray>
#include <QStringEncoder>

// Appends a rule's file line as UTF-8 straight to a byte buffer: the bytes
// of its toString() encoded, without building the line as text first.
class RuleLineEncoder
{
public:
    // False, appending nothing, for a record that has no file line.
    bool append(QByteArray &out, const NVCRuleBase &rule);
    // For a rule known to be an allow/deny rule, without asking its class.
    bool append(QByteArray &out, const PolicyRule &rule);

private:
    void appendLine(QByteArray &out, const NVCRuleBase &rule, bool policy);
    char *appendText(char *at, QStringView text);

    // Stateless: a lone surrogate at a field's end becomes its replacement
    // there, as it does when the whole line is encoded at once.
    QStringEncoder m_encoder{QStringEncoder::Utf8, QStringConverter::Flag::Stateless};
};
