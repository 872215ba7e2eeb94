#pragma once

#include "NVCRuleBase.h"
#include "RecordArena.h"
#include "SharedText.h"

#include <QHashFunctions>
#include <QString>
#include <QStringDecoder>
#include <QStringView>
#include <memory>
#include <vector>

// Decodes the UTF-8 fields of a rule file. Texts that many rules repeat are
// looked up here first, so the shared table is asked once per distinct text.
class Utf8TextPool
{
public:
    // Every occurrence its own text.
    QString decode(QByteArrayView utf8);
    // A path, kept beside the records of `records`.
    void setPath(NVCRuleBase &rule, QByteArrayView utf8, RecordArena &records);
    SharedText intern(QByteArrayView utf8) { return intern(utf8, hashOf(utf8)); }
    // For a caller that asks for a text's slot ahead of interning it, and
    // for the kept copy of the text once the slot has arrived.
    size_t hashOf(QByteArrayView utf8) const;
    void prefetch(size_t hash) const;
    void prefetchKey(size_t hash) const;
    SharedText intern(QByteArrayView utf8, size_t hash);

private:
    // One slot of an open-addressing table that is at most half full. Keys are
    // compared only when their hashes agree.
    struct Entry
    {
        size_t hash = 0;
        const char *key = nullptr;
        quint32 size = 0;
        SharedText text; // absent in a free slot
    };

    void grow();
    SharedText firstSeen(QByteArrayView utf8);
    // A copy of `key` among the others: the first occurrence of a text lies
    // anywhere in a large file, and comparing with it there costs a cache miss.
    const char *keepKey(QByteArrayView key);

    // A byte order mark inside a field is a character like any other.
    QStringDecoder m_decoder{QStringDecoder::Utf8,
                             QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom};
    size_t m_seed = QHashSeed::globalSeed();
    std::vector<Entry> m_entries;
    std::size_t m_count = 0;
    std::vector<std::unique_ptr<char[]>> m_keyBlocks;
    char *m_keyAt = nullptr;
    std::size_t m_keyRoom = 0;
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
    // Room for `rules` without growing on the way.
    void reserve(std::size_t rules);

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

// The group of each pair of process and constraint texts met in one read, in
// one flat block: asked once per rule, and asked for a few lines ahead.
class GroupsByTexts
{
public:
    static size_t hashOf(SharedText processName, SharedText constraint)
    {
        return qHashMulti(0, processName, constraint);
    }

    // The group number stored for the pair, or -1.
    int find(SharedText processName, SharedText constraint, size_t hash) const;
    void insert(SharedText processName, SharedText constraint, size_t hash, int group);
    void prefetch(size_t hash) const;

private:
    struct Slot
    {
        SharedText processName;
        SharedText constraint;
        int group = -1; // -1 marks a free slot
    };

    void grow();

    std::vector<Slot> m_slots = std::vector<Slot>(64);
    std::size_t m_count = 0;
};
