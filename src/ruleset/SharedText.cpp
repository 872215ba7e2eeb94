#include "SharedText.h"

#include "TextHash.h"

#include <QHash>
#include <QMutex>
#include <array>
#include <atomic>
#include <vector>

namespace {

constexpr quint32 kBlockSize = 4096;
constexpr quint32 kBlockCount = 1u << 16;
// Zero at start without being written, so pages of unused blocks stay unmapped.
constinit std::atomic<QString *> blocks[kBlockCount] = {};

// Texts lie in fixed blocks that never move, so a text is read by its number
// without a lock: whoever holds a number got it, directly or through the rule
// that carries it, after the text was stored. Numbers are found in shards
// chosen by hash, each with its own lock: both threads of a read name many new
// texts at once.
class TextTable
{
public:
    static constexpr quint32 kNullId = 0;
    static constexpr quint32 kEmptyId = 1;

    TextTable()
    {
        store(QString());
        const QString empty = QStringLiteral("");
        idOf(empty, &empty);
    }

    // `owned` is `text` as a string to keep, when the caller has one.
    quint32 idOf(QStringView text, const QString *owned = nullptr)
    {
        if (text.isNull())
            return kNullId;
        const auto hash = quint32(TextHash::ofUnits(text, m_seed));
        Shard &shard = m_shards[hash >> (32 - kShardBits)];
        QMutexLocker locker(&shard.lock);
        const std::size_t mask = shard.entries.size() - 1;
        std::size_t at = hash & mask;
        for (; shard.entries[at].id != kNullId; at = (at + 1) & mask) {
            // Stored texts are compared only when their hashes agree: each lies in a block of its own.
            if (shard.entries[at].hash == hash && this->text(shard.entries[at].id) == text)
                return shard.entries[at].id;
        }
        const quint32 id = store(owned ? *owned : text.toString());
        shard.entries[at] = {id, hash};
        if (++shard.used * 2 > shard.entries.size())
            shard.grow();
        return id;
    }

    const QString &text(quint32 id) const
    {
        return blocks[id / kBlockSize].load(std::memory_order_acquire)[id % kBlockSize];
    }

private:
    static constexpr int kShardBits = 4;
    const quint64 m_seed = QHashSeed::globalSeed();

    struct Slot
    {
        quint32 id = kNullId;
        quint32 hash = 0; // where the id is placed, and a first test before the texts are compared
    };

    // Open addressing over ids and hashes: a text is found by comparing it
    // with the stored one, so no second copy of it serves as a key. The absent
    // text is never placed, so its id marks a free slot.
    struct Shard
    {
        QMutex lock;
        std::vector<Slot> entries = std::vector<Slot>(256);
        std::size_t used = 0;

        // Ids are placed again by their hashes in a table twice as large.
        void grow()
        {
            std::vector<Slot> larger(entries.size() * 2);
            const std::size_t mask = larger.size() - 1;
            for (const Slot &slot : entries) {
                if (slot.id == kNullId)
                    continue;
                std::size_t at = slot.hash & mask;
                while (larger[at].id != kNullId)
                    at = (at + 1) & mask;
                larger[at] = slot;
            }
            entries = std::move(larger);
        }
    };

    // Shards store at once: the number is taken atomically, and a new block
    // is published by whichever shard gets there first.
    quint32 store(const QString &text)
    {
        const quint32 id = m_count.fetch_add(1, std::memory_order_relaxed);
        Q_ASSERT(id / kBlockSize < kBlockCount);
        std::atomic<QString *> &blockPointer = blocks[id / kBlockSize];
        QString *block = blockPointer.load(std::memory_order_acquire);
        if (!block) {
            auto *fresh = new QString[kBlockSize];
            if (blockPointer.compare_exchange_strong(block, fresh, std::memory_order_acq_rel))
                block = fresh;
            else
                delete[] fresh;
        }
        block[id % kBlockSize] = text;
        return id;
    }

    std::array<Shard, 1u << kShardBits> m_shards;
    std::atomic<quint32> m_count = 0;
};

// Never destroyed: rules held by other static objects may still ask for their
// texts while the process exits.
TextTable &table()
{
    static TextTable *const instance = new TextTable;
    return *instance;
}

} // namespace

SharedText::SharedText(const QString &text)
    : m_id(table().idOf(text, &text))
{}

SharedText SharedText::of(QStringView text)
{
    return SharedText(table().idOf(text));
}

SharedText SharedText::empty()
{
    // The table stores it first when made, and texts are read through the table.
    return SharedText(TextTable::kEmptyId);
}

const QString &SharedText::text() const
{
    return table().text(m_id);
}
