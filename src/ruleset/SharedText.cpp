#include "SharedText.h"

#include <QHash>
#include <QMutex>
#include <atomic>
#include <vector>

namespace {

constexpr quint32 kBlockSize = 4096;
constexpr quint32 kBlockCount = 1u << 16;
// Zero at start without being written, so pages of unused blocks stay unmapped.
constinit std::atomic<QString *> blocks[kBlockCount] = {};

// Texts lie in fixed blocks that never move, so a text is read by its number
// without the lock: whoever holds a number got it, directly or through the
// rule that carries it, after the text was stored.
class TextTable
{
public:
    static constexpr quint32 kNullId = 0;
    static constexpr quint32 kEmptyId = 1;

    TextTable()
    {
        store(QString());
        idOf(QStringLiteral(""));
    }

    quint32 idOf(const QString &text)
    {
        if (text.isNull())
            return kNullId;
        const auto hash = quint32(qHash(text));
        QMutexLocker locker(&m_lock);
        const std::size_t mask = m_slots.size() - 1;
        std::size_t at = hash & mask;
        for (; m_slots[at].id != kNullId; at = (at + 1) & mask) {
            // Stored texts are compared only when their hashes agree: each lies in a block of its own.
            if (m_slots[at].hash == hash && this->text(m_slots[at].id) == text)
                return m_slots[at].id;
        }
        const quint32 id = store(text);
        m_slots[at] = {id, hash};
        if (++m_slotsUsed * 2 > m_slots.size())
            grow();
        return id;
    }

    const QString &text(quint32 id) const
    {
        return blocks[id / kBlockSize].load(std::memory_order_acquire)[id % kBlockSize];
    }

private:
    struct Slot
    {
        quint32 id = kNullId;
        quint32 hash = 0; // where the id is placed, and a first test before the texts are compared
    };

    quint32 store(const QString &text)
    {
        const quint32 id = m_count;
        Q_ASSERT(id / kBlockSize < kBlockCount);
        QString *block = blocks[id / kBlockSize].load(std::memory_order_relaxed);
        if (!block) {
            block = new QString[kBlockSize];
            blocks[id / kBlockSize].store(block, std::memory_order_release);
        }
        block[id % kBlockSize] = text;
        ++m_count;
        return id;
    }

    // Ids are placed again by their hashes in a table twice as large.
    void grow()
    {
        std::vector<Slot> slots(m_slots.size() * 2);
        const std::size_t mask = slots.size() - 1;
        for (const Slot &slot : m_slots) {
            if (slot.id == kNullId)
                continue;
            std::size_t at = slot.hash & mask;
            while (slots[at].id != kNullId)
                at = (at + 1) & mask;
            slots[at] = slot;
        }
        m_slots = std::move(slots);
    }

    QMutex m_lock;
    // Open addressing over ids and hashes: a text is found by comparing it
    // with the stored one, so no second copy of it serves as a key. The absent
    // text is never placed, so its id marks a free slot.
    std::vector<Slot> m_slots = std::vector<Slot>(1024);
    std::size_t m_slotsUsed = 0;
    quint32 m_count = 0;
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
    : m_id(table().idOf(text))
{}

SharedText SharedText::empty()
{
    // The table stores it first when made, and texts are read through the table.
    return SharedText(TextTable::kEmptyId);
}

const QString &SharedText::text() const
{
    return table().text(m_id);
}
