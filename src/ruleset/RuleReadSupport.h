#pragma once

#include "NVCRuleBase.h"
#include "RecordArena.h"
#include "SharedText.h"

#include <QHash>
#include <QString>
#include <QStringDecoder>
#include <QStringView>
#include <deque>
#include <vector>

// Decodes the UTF-8 fields of a rule file. Texts that many rules repeat are
// looked up here first, so the shared table is asked once per distinct text.
class Utf8TextPool
{
public:
    // `file` is the text being read: keys are views of it, so it must outlive the pool.
    explicit Utf8TextPool(QByteArrayView file);

    // Every occurrence its own text.
    QString decode(QByteArrayView utf8);
    // A path, kept beside the records of `records`.
    void setPath(NVCRuleBase &rule, QByteArrayView utf8, RecordArena &records);
    SharedText intern(QByteArrayView utf8);

private:
    QByteArrayView m_file;
    // A byte order mark inside a field is a character like any other.
    QStringDecoder m_decoder{QStringDecoder::Utf8,
                             QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom};
    QHash<QByteArrayView, SharedText> m_strings;
    // Keys assembled from pieces are not in the file and are kept here.
    std::deque<QByteArray> m_assembledKeys;
};

// Covers the fields isEqualTo compares, telling absent texts from empty ones.
size_t duplicateHash(const NVCRuleBase &rule);

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
    bool insert(const NVCRuleBase &rule) { return insert(rule, duplicateHash(rule)); }
    bool insert(const NVCRuleBase &rule, size_t hash);
    // Asks for the memory of the first slot a later insert with `hash` reads.
    void prefetch(size_t hash) const;

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
