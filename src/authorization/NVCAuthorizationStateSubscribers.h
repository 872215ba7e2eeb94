#pragma once

#include <QMutex>
#include <functional>
#include <map>
#include <memory>

// Registered observers of an authorization state, called in registration
// order. A subscriber stays registered until it is cancelled.
class NVCAuthorizationStateSubscribers : public std::enable_shared_from_this<NVCAuthorizationStateSubscribers>
{
public:
    using Block = std::function<void(int)>;

    class Subscriber
    {
    public:
        Subscriber(std::weak_ptr<NVCAuthorizationStateSubscribers> storage, quint64 id)
            : m_storage(std::move(storage))
            , m_id(id)
        {}
        void cancel();

    private:
        std::weak_ptr<NVCAuthorizationStateSubscribers> m_storage;
        quint64 m_id;
    };

    std::shared_ptr<Subscriber> add(Block block);
    void notify(int state) const;
    std::size_t count() const;

private:
    void remove(quint64 id);

    mutable QMutex m_mutex;
    std::map<quint64, Block> m_blocks;
    quint64 m_nextId = 1;
};
