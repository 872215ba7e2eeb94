#pragma once

#include <QMutex>
#include <QRecursiveMutex>
#include <functional>
#include <memory>
#include <vector>

template <typename... Args> class NVCBlockSubscriberStorage;

// One in-process listener: a callback registered under a token. Cancelling
// removes it from the storage it was added to, if that still exists.
template <typename... Args> class NVCBlockSubscriber
{
public:
    using Token = const void *;
    using Block = std::function<void(Args...)>;

    NVCBlockSubscriber(Token token, Block block)
        : m_token(token)
        , m_block(std::move(block))
    {}

    Token token() const { return m_token; }
    const Block &block() const { return m_block; }

    void assignStorage(const std::shared_ptr<NVCBlockSubscriberStorage<Args...>> &storage)
    {
        m_storage = storage;
    }
    void cancel()
    {
        if (const auto storage = m_storage.lock())
            storage->cancelByToken(m_token);
    }

private:
    Token m_token;
    Block m_block;
    std::weak_ptr<NVCBlockSubscriberStorage<Args...>> m_storage;
};

// The subscribers of one notification, keyed by token and kept in the order
// they were added. Callbacks run outside the lock so that one may cancel
// itself or add another.
template <typename... Args>
class NVCBlockSubscriberStorage : public std::enable_shared_from_this<NVCBlockSubscriberStorage<Args...>>
{
public:
    using Subscriber = NVCBlockSubscriber<Args...>;
    using SubscriberPtr = std::shared_ptr<Subscriber>;

    static std::shared_ptr<NVCBlockSubscriberStorage> create()
    {
        return std::shared_ptr<NVCBlockSubscriberStorage>(new NVCBlockSubscriberStorage);
    }

    // Registers the subscriber under its token, replacing one with the same token.
    void addSubscriber(const SubscriberPtr &subscriber)
    {
        subscriber->assignStorage(this->shared_from_this());
        QMutexLocker locker(&m_lock);
        eraseToken(subscriber->token());
        m_subscribersStorage.push_back(subscriber);
    }

    void enumerateSubscribers(const std::function<void(const Subscriber &)> &visit) const
    {
        if (!visit)
            return;
        std::vector<SubscriberPtr> subscribers;
        {
            QMutexLocker locker(&m_lock);
            for (const SubscriberPtr &subscriber : m_subscribersStorage)
                if (subscriber->block())
                    subscribers.push_back(subscriber);
        }
        for (const SubscriberPtr &subscriber : subscribers)
            visit(*subscriber);
    }

    bool isEmpty() const
    {
        QMutexLocker locker(&m_lock);
        return m_subscribersStorage.empty();
    }

    void cancelByToken(typename Subscriber::Token token)
    {
        if (!token)
            return;
        QMutexLocker locker(&m_lock);
        eraseToken(token);
    }

private:
    NVCBlockSubscriberStorage() = default;

    void eraseToken(typename Subscriber::Token token)
    {
        std::erase_if(m_subscribersStorage,
                      [token](const SubscriberPtr &subscriber) { return subscriber->token() == token; });
    }

    mutable QRecursiveMutex m_lock;
    std::vector<SubscriberPtr> m_subscribersStorage;
};
