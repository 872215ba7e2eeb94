#include "SharedText.h"

#include <QHash>
#include <QMutex>
#include <atomic>

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
        store(QStringLiteral(""));
    }

    quint32 idOf(const QString &text)
    {
        if (text.isNull())
            return kNullId;
        QMutexLocker locker(&m_lock);
        const auto found = m_ids.constFind(text);
        if (found != m_ids.cend())
            return found.value();
        return store(text);
    }

    const QString &text(quint32 id) const
    {
        return blocks[id / kBlockSize].load(std::memory_order_acquire)[id % kBlockSize];
    }

private:
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
        if (id != kNullId)
            m_ids.insert(text, id);
        ++m_count;
        return id;
    }

    QMutex m_lock;
    QHash<QString, quint32> m_ids;
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
