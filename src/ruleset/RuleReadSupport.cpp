#include "RuleReadSupport.h"

#include "RulePrefetch.h"
#include "RuleText.h"
#include "TextHash.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>

namespace {

constexpr std::size_t kInitialTextSlots = 64;
constexpr std::size_t kKeyBlockBytes = 64 * 1024;

} // namespace

QString Utf8TextPool::decode(QByteArrayView utf8)
{
    if (utf8.isEmpty())
        return RuleText::emptyText();
    QString text(utf8.size(), Qt::Uninitialized);
    if (RuleText::widenAscii(utf8, reinterpret_cast<char16_t *>(text.data())))
        return text;
    return m_decoder.decode(utf8);
}

void Utf8TextPool::setPath(NVCRuleBase &rule, QByteArrayView utf8, RecordArena &records)
{
    if (utf8.isEmpty())
        rule.setPath(RuleText::emptyText());
    else
        rule.setPathKeptWithRecord(records.keepText(utf8, m_decoder));
}

size_t Utf8TextPool::hashOf(QByteArrayView utf8) const
{
    return TextHash::ofBytes(utf8.data(), std::size_t(utf8.size()), m_seed);
}

void Utf8TextPool::prefetch(size_t hash) const
{
    if (!m_entries.empty())
        prefetchRuleData(&m_entries[hash & (m_entries.size() - 1)]);
}

void Utf8TextPool::prefetchKey(size_t hash) const
{
    if (m_entries.empty())
        return;
    const std::size_t mask = m_entries.size() - 1;
    for (std::size_t at = hash & mask; !m_entries[at].text.isNull(); at = (at + 1) & mask) {
        if (m_entries[at].hash == hash) {
            prefetchRuleData(m_entries[at].key);
            return;
        }
    }
}

SharedText Utf8TextPool::intern(QByteArrayView utf8, size_t hash)
{
    // Longer texts than a slot records are not pooled; no rule file holds one.
    if (utf8.size() > std::numeric_limits<quint32>::max())
        return SharedText(decode(utf8));
    if ((m_count + 1) * 2 > m_entries.size())
        grow();
    const std::size_t mask = m_entries.size() - 1;
    std::size_t at = hash & mask;
    for (; !m_entries[at].text.isNull(); at = (at + 1) & mask) {
        const Entry &entry = m_entries[at];
        // An empty key may have no bytes anywhere, which memcmp must not be given.
        if (entry.hash == hash && entry.size == quint32(utf8.size()) &&
            (entry.size == 0 || std::memcmp(entry.key, utf8.data(), entry.size) == 0))
            return entry.text;
    }
    const SharedText text = firstSeen(utf8);
    m_entries[at] = {hash, keepKey(utf8), quint32(utf8.size()), text};
    ++m_count;
    return text;
}

SharedText Utf8TextPool::firstSeen(QByteArrayView utf8)
{
    // Most texts are short and ASCII, and known to the process from earlier
    // reads: they are looked up from a copy here, without a string of their own.
    std::array<char16_t, 256> units;
    if (std::size_t(utf8.size()) <= units.size() && RuleText::widenAscii(utf8, units.data()))
        return SharedText::of(QStringView(units.data(), utf8.size()));
    return SharedText(decode(utf8));
}

const char *Utf8TextPool::keepKey(QByteArrayView key)
{
    const auto size = std::size_t(key.size());
    if (size > m_keyRoom) {
        m_keyRoom = std::max(size, kKeyBlockBytes);
        m_keyAt = m_keyBlocks.emplace_back(std::make_unique_for_overwrite<char[]>(m_keyRoom)).get();
    }
    char *kept = m_keyAt;
    std::copy_n(key.data(), size, kept);
    m_keyAt += size;
    m_keyRoom -= size;
    return kept;
}

void Utf8TextPool::grow()
{
    std::vector<Entry> old(m_entries.empty() ? kInitialTextSlots : m_entries.size() * 2);
    old.swap(m_entries);
    const std::size_t mask = m_entries.size() - 1;
    for (const Entry &entry : old) {
        if (entry.text.isNull())
            continue;
        std::size_t at = entry.hash & mask;
        while (!m_entries[at].text.isNull())
            at = (at + 1) & mask;
        m_entries[at] = entry;
    }
}

size_t duplicateHash(const NVCRuleBase &rule)
{
    static const quint64 seed = QHashSeed::globalSeed();
    const QStringView path = rule.pathView();
    using namespace TextHash;
    quint64 hash = mixBytes(path.utf16(), std::size_t(path.size()) * sizeof(char16_t), seed ^ path.isNull());
    hash = mixWord(hash, quint64(rule.policyType) << 32 | rule.policyClass);
    hash = mixWord(hash, quint64(rule.operations) << 32 | rule.flags);
    hash = mixWord(hash, quint64(qHash(rule.sharedProcessName())) << 32 ^ qHash(rule.sharedConstraint()));
    return finish(hash);
}

namespace {

constexpr std::size_t kInitialSlots = 64;

} // namespace

// The slot holding a rule equal to `rule`, or the empty slot where it would go.
std::size_t DuplicateIndex::findSlot(const NVCRuleBase &rule, size_t hash) const
{
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t at = hash & mask;; at = (at + 1) & mask) {
        const Slot &slot = m_slots[at];
        if (!slot.rule || (slot.hash == hash && slot.rule->isEqualTo(rule)))
            return at;
    }
}

void DuplicateIndex::grow()
{
    reserve(m_slots.empty() ? kInitialSlots / 2 : m_slots.size());
}

void DuplicateIndex::reserve(std::size_t rules)
{
    if (rules * 2 <= m_slots.size())
        return;
    std::vector<Slot> old(std::bit_ceil(rules * 2));
    old.swap(m_slots);
    const std::size_t mask = m_slots.size() - 1;
    for (const Slot &slot : old) {
        if (!slot.rule)
            continue;
        std::size_t at = slot.hash & mask;
        while (m_slots[at].rule)
            at = (at + 1) & mask;
        m_slots[at] = slot;
    }
}

void DuplicateIndex::prefetch(size_t hash) const
{
    if (!m_slots.empty())
        prefetchRuleData(&m_slots[hash & (m_slots.size() - 1)]);
}

bool DuplicateIndex::insert(const NVCRuleBase &rule, size_t hash)
{
    // At most half full, so probe runs stay short.
    if ((m_count + 1) * 2 > m_slots.size())
        grow();
    Slot &slot = m_slots[findSlot(rule, hash)];
    if (slot.rule)
        return false;
    slot = Slot{&rule, hash};
    ++m_count;
    return true;
}

int GroupsByTexts::find(SharedText processName, SharedText constraint, size_t hash) const
{
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t at = hash & mask; m_slots[at].group >= 0; at = (at + 1) & mask) {
        if (m_slots[at].processName == processName && m_slots[at].constraint == constraint)
            return m_slots[at].group;
    }
    return -1;
}

void GroupsByTexts::insert(SharedText processName, SharedText constraint, size_t hash, int group)
{
    // At most half full, so probe runs stay short.
    if ((m_count + 1) * 2 > m_slots.size())
        grow();
    const std::size_t mask = m_slots.size() - 1;
    std::size_t at = hash & mask;
    while (m_slots[at].group >= 0)
        at = (at + 1) & mask;
    m_slots[at] = {processName, constraint, group};
    ++m_count;
}

void GroupsByTexts::prefetch(size_t hash) const
{
    prefetchRuleData(&m_slots[hash & (m_slots.size() - 1)]);
}

void GroupsByTexts::grow()
{
    std::vector<Slot> old(m_slots.size() * 2);
    old.swap(m_slots);
    m_count = 0;
    for (const Slot &slot : old) {
        if (slot.group >= 0)
            insert(slot.processName, slot.constraint, hashOf(slot.processName, slot.constraint), slot.group);
    }
}
