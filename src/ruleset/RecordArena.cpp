#include "RecordArena.h"

#include "RuleText.h"

#include <QDateTime>
#include <algorithm>
#include <cstddef>
#include <new>
#include <vector>

namespace {

// Blocks grow from a few records, as most files read are small, to a size
// that makes the allocations of a large file few.
constexpr std::size_t kFirstBlockRecords = 16;
constexpr std::size_t kLargestBlockRecords = 1024;
constexpr qsizetype kTextBlockUnits = 32 * 1024;

template <typename Record> class RecordBlocks
{
public:
    RecordBlocks() = default;
    RecordBlocks(const RecordBlocks &) = delete;
    RecordBlocks &operator=(const RecordBlocks &) = delete;

    ~RecordBlocks()
    {
        for (std::size_t block = 0; block < m_blocks.size(); ++block) {
            const std::size_t used = block + 1 == m_blocks.size() ? m_usedInLast : m_blocks[block].capacity;
            for (std::size_t i = 0; i < used; ++i)
                m_blocks[block].records()[i].~Record();
            ::operator delete(m_blocks[block].storage, std::align_val_t(alignof(Record)));
        }
    }

    template <typename... Arguments> Record *emplace(Arguments... arguments)
    {
        if (m_blocks.empty() || m_usedInLast == m_blocks.back().capacity) {
            const std::size_t capacity = m_blocks.empty()
                                             ? kFirstBlockRecords
                                             : std::min(m_blocks.back().capacity * 2, kLargestBlockRecords);
            m_blocks.reserve(m_blocks.size() + 1);
            m_blocks.push_back(
                {::operator new(capacity * sizeof(Record), std::align_val_t(alignof(Record))), capacity});
            m_usedInLast = 0;
        }
        Record *record = new (m_blocks.back().records() + m_usedInLast) Record(arguments...);
        ++m_usedInLast;
        return record;
    }

private:
    struct Block
    {
        void *storage;
        std::size_t capacity;
        Record *records() const { return static_cast<Record *>(storage); }
    };
    std::vector<Block> m_blocks;
    std::size_t m_usedInLast = 0;
};

// Texts one after another, without a header or terminator each.
class TextBlocks
{
public:
    char16_t *space(qsizetype units)
    {
        if (units > m_left) {
            const qsizetype size = std::max(units, kTextBlockUnits);
            m_at = m_blocks.emplace_back(std::make_unique_for_overwrite<char16_t[]>(std::size_t(size))).get();
            m_left = size;
        }
        return m_at;
    }

    void take(qsizetype units)
    {
        m_at += units;
        m_left -= units;
    }

private:
    std::vector<std::unique_ptr<char16_t[]>> m_blocks;
    char16_t *m_at = nullptr;
    qsizetype m_left = 0;
};

} // namespace

struct RecordArena::Blocks
{
    RecordBlocks<PolicyRule> policies;
    RecordBlocks<WatchRule> watches;
    TextBlocks texts;
    quint32 builtAt = quint32(QDateTime::currentSecsSinceEpoch());
};

RecordArena::RecordArena()
    : m_blocks(std::make_shared<Blocks>())
{}

RecordArena::~RecordArena() = default;

PolicyRulePtr RecordArena::newPolicyRule()
{
    return PolicyRulePtr(m_blocks, m_blocks->policies.emplace(m_blocks->builtAt));
}

WatchRulePtr RecordArena::newWatchRule()
{
    return WatchRulePtr(m_blocks, m_blocks->watches.emplace());
}

QStringView RecordArena::keepText(QByteArrayView utf8, QStringDecoder &decoder)
{
    char16_t *start = m_blocks->texts.space(decoder.requiredSpace(utf8.size()));
    qsizetype units = utf8.size();
    if (!RuleText::widenAscii(utf8, start))
        units = reinterpret_cast<char16_t *>(decoder.appendToBuffer(reinterpret_cast<QChar *>(start), utf8)) -
                start;
    m_blocks->texts.take(units);
    return QStringView(start, units);
}
