#include "RuleReadSupport.h"

#include "RulePrefetch.h"
#include "RuleText.h"

#include <functional>

Utf8TextPool::Utf8TextPool(QByteArrayView file)
    : m_file(file)
{}

QString Utf8TextPool::decode(QByteArrayView utf8)
{
    return utf8.isEmpty() ? RuleText::emptyText() : QString(m_decoder.decode(utf8));
}

void Utf8TextPool::setPath(NVCRuleBase &rule, QByteArrayView utf8, RecordArena &records)
{
    if (utf8.isEmpty())
        rule.setPath(RuleText::emptyText());
    else
        rule.setPathKeptWithRecord(records.keepText(utf8, m_decoder));
}

SharedText Utf8TextPool::intern(QByteArrayView utf8)
{
    const auto found = m_strings.constFind(utf8);
    if (found != m_strings.cend())
        return found.value();
    QByteArrayView key = utf8;
    const bool inFile = std::less_equal<>()(m_file.data(), utf8.data()) &&
                        std::less_equal<>()(utf8.data() + utf8.size(), m_file.data() + m_file.size());
    if (!inFile)
        key = m_assembledKeys.emplace_back(utf8.toByteArray());
    const SharedText text(decode(utf8));
    m_strings.insert(key, text);
    return text;
}

size_t duplicateHash(const NVCRuleBase &rule)
{
    return qHashMulti(0, rule.policyType, rule.policyClass, rule.operations, rule.flags, rule.pathView(),
                      rule.pathView().isNull(), rule.sharedProcessName(), rule.sharedConstraint());
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
    std::vector<Slot> old(m_slots.empty() ? kInitialSlots : m_slots.size() * 2);
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
