#pragma once

#include "NVCRuleBase.h"

#include <QHash>
#include <QString>
#include <QStringView>
#include <vector>

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
// pointers: the indexed rules must stay alive and unchanged while it is used,
// and all be of one record kind (which makes isEqualTo symmetric among them).
//
// An open-addressing table in one flat block: a node-based set would scatter
// short-lived allocations between the long-lived rules read alongside it.
class DuplicateIndex
{
public:
    // Adds the rule unless an equal one is indexed; true when it was added.
    // One hash and one probe serve both the question and the insertion.
    bool insert(const NVCRuleBase &rule);

private:
    struct Slot
    {
        const NVCRuleBase *rule = nullptr;
        size_t hash = 0;
    };

    std::size_t findSlot(const NVCRuleBase &rule, size_t hash) const;
    void grow();

    std::vector<Slot> m_slots;
    std::size_t m_count = 0;
};
