#pragma once

#include "NVCRuleBase.h"

#include <QHash>
#include <QMultiHash>
#include <QString>
#include <QStringView>

// Hands out one shared copy per distinct text, so that the many rules of one
// application share their process name, constraint and tag data.
class StringPool
{
public:
    QString intern(QStringView text);

private:
    // Keys view the characters of their own values, which never move.
    QHash<QStringView, QString> m_strings;
};

// Answers "is some indexed rule isEqualTo this one" in constant time. Holds raw
// pointers: the indexed rules must stay alive and unchanged while it is used.
class DuplicateIndex
{
public:
    void insert(const NVCRuleBase &rule);
    bool containsEqual(const NVCRuleBase &rule) const;

private:
    QMultiHash<size_t, const NVCRuleBase *> m_rules;
};
