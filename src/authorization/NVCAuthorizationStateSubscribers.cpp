#include "NVCAuthorizationStateSubscribers.h"

#include <vector>

void NVCAuthorizationStateSubscribers::Subscriber::cancel()
{
    if (auto storage = m_storage.lock())
        storage->remove(m_id);
    m_storage.reset();
}

std::shared_ptr<NVCAuthorizationStateSubscribers::Subscriber>
NVCAuthorizationStateSubscribers::add(Block block)
{
    QMutexLocker locker(&m_mutex);
    const quint64 id = m_nextId++;
    m_blocks.emplace(id, std::move(block));
    return std::make_shared<Subscriber>(weak_from_this(), id);
}

void NVCAuthorizationStateSubscribers::notify(int state) const
{
    // Called outside the lock so that a block may cancel itself.
    std::vector<Block> blocks;
    {
        QMutexLocker locker(&m_mutex);
        for (const auto &[id, block] : m_blocks)
            blocks.push_back(block);
    }
    for (const auto &block : blocks)
        block(state);
}

std::size_t NVCAuthorizationStateSubscribers::count() const
{
    QMutexLocker locker(&m_mutex);
    return m_blocks.size();
}

void NVCAuthorizationStateSubscribers::remove(quint64 id)
{
    QMutexLocker locker(&m_mutex);
    m_blocks.erase(id);
}
