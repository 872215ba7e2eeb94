#include "NVCServiceClient.h"

#include "NVCServiceClientSubscriptionProtocolProxy.h"

#include <QAtomicInteger>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QLoggingCategory>
#include <QThread>
#include <cstdlib>

Q_LOGGING_CATEGORY(lcServiceClient, "com.norvalis.NVCServiceClient")

namespace {

constexpr int kInitialBurndown = 30;

QString nextListenerPathPrefix()
{
    static QAtomicInteger<quint32> counter;
    return QStringLiteral("/com/norvalis/client/%1/").arg(counter.fetchAndAddOrdered(1));
}

} // namespace

NVCSubscriptionListener::NVCSubscriptionListener(NVCServiceClient *client)
    : m_client(client)
{}

bool NVCSubscriptionListener::acceptCall()
{
    if (!calledFromDBus())
        return true;
    if (m_client && m_client->acceptCallFrom(message().service(), this))
        return true;
    sendErrorReply(QDBusError::AccessDenied, QStringLiteral("call-back refused"));
    return false;
}

NVCServiceClient::NVCServiceClient(const QDBusConnection &bus, const QString &serviceName,
                                   const QString &protocolName, const NVCNamespace &nameSpace,
                                   QObject *parent)
    : QObject(parent)
    , m_bus(bus)
    , m_serviceName(nameSpace.namespacedIdWith(serviceName))
    , m_objectPath(quiven::dbus::objectPathForService(serviceName))
    , m_protocolName(protocolName)
{
    qCInfo(lcServiceClient, "will try to connect to service with name %s", qUtf8Printable(m_serviceName));
    init();
}

NVCServiceClient::NVCServiceClient(const QDBusConnection &bus, const NVCListenerEndpoint &endpoint,
                                   const QString &protocolName, QObject *parent)
    : QObject(parent)
    , m_bus(bus)
    , m_serviceName(endpoint.service)
    , m_objectPath(endpoint.path.path())
    , m_protocolName(protocolName)
    , m_isEndpoint(true)
{
    init();
}

void NVCServiceClient::init()
{
    quiven::dbus::registerTypes();
    m_subscriptionProxy = new ComNorvalisNVCServiceClientSubscriptionProtocolInterface(
        m_serviceName, m_objectPath, m_bus, this);
    m_retryTimer.setSingleShot(true);
    m_retryTimer.setObjectName(QStringLiteral("com.norvalis.NVCServiceClient.reconnectQueue"));
    connect(&m_retryTimer, &QTimer::timeout, this, &NVCServiceClient::doContinueSubscribe);
    // The bus library announces the loss of the bus connection itself with this local signal.
    m_bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                  QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                  SLOT(busDisconnected()));
}

NVCServiceClient::~NVCServiceClient()
{
    m_deallocating = true;
    shutdown();
}

bool NVCServiceClient::connection()
{
    QMutexLocker locker(&m_connectionLock);
    if (m_connected)
        return true;
    if (m_deallocating)
        return false;
    if (!m_bus.isConnected()) {
        locker.unlock();
        reportInvalidation();
        return false;
    }
    if (m_isEndpoint)
        qCDebug(lcServiceClient, "Using anonymous endpoint %s %s", qUtf8Printable(m_serviceName),
                qUtf8Printable(m_objectPath));
    else
        qCDebug(lcServiceClient, "Setting up connection to service %s", qUtf8Printable(m_serviceName));
    m_watcher = std::make_unique<QDBusServiceWatcher>(m_serviceName, m_bus,
                                                      QDBusServiceWatcher::WatchForUnregistration);
    QPointer<NVCServiceClient> weakSelf(this);
    connect(m_watcher.get(), &QDBusServiceWatcher::serviceUnregistered, this, [weakSelf] {
        if (weakSelf)
            weakSelf->reportInterruption();
    });
    if (m_connectionSetup)
        m_connectionSetup();
    m_connected = true;
    if (m_reconnectionHandler)
        m_reconnectionHandler();
    return true;
}

bool NVCServiceClient::isConnected() const
{
    QMutexLocker locker(&m_connectionLock);
    return m_connected;
}

void NVCServiceClient::setReconnectionHandler(Handler handler)
{
    m_reconnectionHandler = std::move(handler);
}

void NVCServiceClient::setInterruptionHandler(Handler handler)
{
    m_interruptionHandler = std::move(handler);
}

void NVCServiceClient::setInvalidationHandler(Handler handler)
{
    m_invalidationHandler = std::move(handler);
}

void NVCServiceClient::setConnectionSetup(Handler handler)
{
    m_connectionSetup = std::move(handler);
}

void NVCServiceClient::setRetryDelays(std::chrono::milliseconds fast, std::chrono::milliseconds slow)
{
    m_fastDelay = fast;
    m_slowDelay = slow;
}

int NVCServiceClient::trySubscribeBurndown() const
{
    return m_burndown;
}

NVCServiceClient::ErrorCallback NVCServiceClient::loggingErrorCallback()
{
    return [](const QDBusError &error) {
        qCWarning(lcServiceClient, "%s: XPC error from remote: %s", "-[NVCServiceClient proxy]_block_invoke",
                  qUtf8Printable(error.message()));
    };
}

void NVCServiceClient::reportInterruption()
{
    if (m_interruptionHandler)
        m_interruptionHandler();
    connectionInterrupted();
}

void NVCServiceClient::reportInvalidation()
{
    if (m_invalidationHandler)
        m_invalidationHandler();
    connectionInvalidated();
}

void NVCServiceClient::busDisconnected()
{
    if (isConnected())
        reportInvalidation();
}

void NVCServiceClient::handleFailure(const QDBusError &error)
{
    switch (error.type()) {
    case QDBusError::Disconnected:
        if (isConnected())
            reportInvalidation();
        break;
    case QDBusError::NoReply:
    case QDBusError::ServiceUnknown:
    case QDBusError::NoServer:
        if (isConnected())
            reportInterruption();
        break;
    default:
        break;
    }
}

void NVCServiceClient::deliver(const QDBusPendingCall &call,
                               std::function<void(const QDBusPendingCall &)> reply, ErrorCallback error)
{
    // The call is already on its way; only the watcher must live where the
    // replies are delivered, so a caller on another thread still gets them.
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(
            this,
            [this, call, reply = std::move(reply), error = std::move(error)]() mutable {
                deliver(call, std::move(reply), std::move(error));
            },
            Qt::QueuedConnection);
        return;
    }
    auto *watcher = new QDBusPendingCallWatcher(call, this);
    QPointer<NVCServiceClient> weakSelf(this);
    connect(
        watcher, &QDBusPendingCallWatcher::finished, this,
        [weakSelf, reply = std::move(reply), error = std::move(error)](QDBusPendingCallWatcher *finished) {
            finished->deleteLater();
            if (finished->isError()) {
                error(finished->error());
                if (weakSelf)
                    weakSelf->handleFailure(finished->error());
            } else if (reply) {
                reply(*finished);
            }
        });
}

void NVCServiceClient::deliverSync(QDBusPendingCall call,
                                   const std::function<void(const QDBusPendingCall &)> &reply,
                                   const ErrorCallback &error)
{
    call.waitForFinished();
    if (call.isError()) {
        error(call.error());
        handleFailure(call.error());
    } else if (reply) {
        reply(call);
    }
}

NVCSubscriptionListener *NVCServiceClient::createListener(const QString &)
{
    return nullptr;
}

void NVCServiceClient::terminateProcessWithCode(int code)
{
    std::exit(code);
}

NVCServiceClient::Subscription *NVCServiceClient::findSubscription(const QString &protocolName)
{
    for (Subscription &subscription : m_subscriptions)
        if (subscription.protocolName == protocolName)
            return &subscription;
    return nullptr;
}

const NVCServiceClient::Subscription *NVCServiceClient::findSubscription(const QString &protocolName) const
{
    return const_cast<NVCServiceClient *>(this)->findSubscription(protocolName);
}

bool NVCServiceClient::isSubscriptionAlive(const QString &protocolName) const
{
    QMutexLocker locker(&m_subscriptionLock);
    const Subscription *subscription = findSubscription(protocolName);
    return subscription && subscription->alive;
}

std::optional<NVCListenerEndpoint> NVCServiceClient::endpointForProtocol(const QString &protocolName) const
{
    QMutexLocker locker(&m_subscriptionLock);
    const Subscription *subscription = findSubscription(protocolName);
    if (!subscription)
        return std::nullopt;
    return NVCListenerEndpoint{m_bus.baseService(), QDBusObjectPath(subscription->path)};
}

bool NVCServiceClient::subscribeToUpdateWithProtocol(const QString &protocolName, Handler connectionSetup)
{
    {
        QMutexLocker locker(&m_subscriptionLock);
        if (findSubscription(protocolName))
            return true;
        Subscription subscription;
        subscription.protocolName = protocolName;
        subscription.path = nextListenerPathPrefix() + protocolName;
        subscription.connectionSetup = std::move(connectionSetup);
        subscription.listener = createListener(protocolName);
        if (!subscription.listener) {
            qCCritical(lcServiceClient, "Error: could not resolve protocol %s", qUtf8Printable(protocolName));
            subscription.listener = new NVCSubscriptionListener(this);
        }
        subscription.listener->setParent(this);
        subscription.listener->setObjectName(subscription.path);
        m_bus.registerObject(subscription.path, subscription.listener, QDBusConnection::ExportAdaptors);
        qCInfo(lcServiceClient, "Setting up new anonymous listener for protocol %s",
               qUtf8Printable(protocolName));
        m_subscriptions.append(subscription);
    }
    subscribeWithProtocol(protocolName, [protocolName](bool subscribed) {
        qCInfo(lcServiceClient, "Initial subscription to protocol %s %s.", qUtf8Printable(protocolName),
               subscribed ? "succeeded" : "failed");
    });
    return true;
}

void NVCServiceClient::subscribeWithProtocol(const QString &protocolName, std::function<void(bool)> callback)
{
    const std::optional<NVCListenerEndpoint> endpoint = endpointForProtocol(protocolName);
    if (!endpoint || !connection())
        return;
    QPointer<NVCServiceClient> weakSelf(this);
    deliver(
        m_subscriptionProxy->subscribeToChangesWithProtocol(protocolName, *endpoint),
        [weakSelf, protocolName, callback = std::move(callback)](const QDBusPendingCall &call) {
            const QDBusPendingReply<bool> answer(call);
            const bool subscribed = answer.value();
            qCInfo(lcServiceClient, "Subscription to protocol %s %s.", qUtf8Printable(protocolName),
                   subscribed ? "succeeded" : "failed");
            if (!weakSelf)
                return;
            {
                QMutexLocker locker(&weakSelf->m_subscriptionLock);
                if (Subscription *subscription = weakSelf->findSubscription(protocolName))
                    subscription->alive = subscribed;
                if (subscribed)
                    weakSelf->m_peerName = answer.reply().service();
            }
            qCDebug(lcServiceClient, "Flagging annonymous listtener for protocol %s as alive: %d",
                    qUtf8Printable(protocolName), subscribed);
            if (callback)
                callback(subscribed);
        },
        loggingErrorCallback());
}

bool NVCServiceClient::acceptCallFrom(const QString &sender, const NVCSubscriptionListener *listener)
{
    qCDebug(lcServiceClient, "Received new connection: %s, for listener: %s", qUtf8Printable(sender),
            qUtf8Printable(listener->objectName()));
    QMutexLocker locker(&m_subscriptionLock);
    for (Subscription &subscription : m_subscriptions) {
        if (subscription.listener != listener)
            continue;
        // Only the daemon that confirmed the subscription may call back. Its unique
        // name is compared rather than asking the bus for the current owner: a
        // daemon's last call (terminate) arrives after it has already left the bus.
        const QString peer = m_isEndpoint ? m_serviceName : m_peerName;
        if (peer.isEmpty() || sender != peer)
            return false;
        if (!subscription.accepted) {
            subscription.accepted = true;
            if (subscription.connectionSetup)
                subscription.connectionSetup();
            qCDebug(lcServiceClient, "%s: Accepted connection %s for listener %s and protocol %s",
                    qUtf8Printable(m_serviceName), qUtf8Printable(sender), qUtf8Printable(subscription.path),
                    qUtf8Printable(subscription.protocolName));
        }
        return true;
    }
    return false;
}

void NVCServiceClient::dropSubscription(Subscription &subscription)
{
    m_bus.unregisterObject(subscription.path);
    delete subscription.listener;
    subscription.listener = nullptr;
}

bool NVCServiceClient::unsubscribeProtocol(const QString &protocolName)
{
    QMutexLocker locker(&m_subscriptionLock);
    Subscription *subscription = findSubscription(protocolName);
    if (!subscription || !subscription->listener)
        return false;
    const NVCListenerEndpoint endpoint{m_bus.baseService(), QDBusObjectPath(subscription->path)};
    if (m_bus.isConnected())
        deliverSync(m_subscriptionProxy->unsubscribeEndpoint(endpoint, protocolName), {},
                    [protocolName](const QDBusError &error) {
                        qCWarning(lcServiceClient, "Failed to unsubscribe protocol %s, error: %s",
                                  qUtf8Printable(protocolName), qUtf8Printable(error.message()));
                    });
    subscription = findSubscription(protocolName);
    if (!subscription)
        return true;
    dropSubscription(*subscription);
    m_subscriptions.removeIf([&](const Subscription &s) { return s.protocolName == protocolName; });
    return true;
}

void NVCServiceClient::shutdown()
{
    m_deallocating = true;
    QStringList names;
    {
        QMutexLocker locker(&m_subscriptionLock);
        for (const Subscription &subscription : std::as_const(m_subscriptions))
            names << subscription.protocolName;
    }
    for (const QString &name : std::as_const(names))
        unsubscribeProtocol(name);
    shutdownWithoutUnsubscribe();
}

void NVCServiceClient::shutdownWithoutUnsubscribe()
{
    qCDebug(lcServiceClient, "shutdownWithoutUnsubscribe");
    m_deallocating = true;
    m_retryTimer.stop();
    {
        QMutexLocker locker(&m_subscriptionLock);
        for (Subscription &subscription : m_subscriptions)
            dropSubscription(subscription);
        m_subscriptions.clear();
    }
    QMutexLocker locker(&m_connectionLock);
    m_watcher.reset();
    m_connected = false;
}

void NVCServiceClient::connectionInterrupted()
{
    qCInfo(lcServiceClient, "XPC interrupted for connection: %s", qUtf8Printable(m_serviceName));
    if (shouldTerminateProcessOnXPCInterruption) {
        qCCritical(lcServiceClient, "Will terminate process due to XPC interruption");
        terminateProcessWithCode(101);
        return;
    }
    resetSubscriptions();
    trySubscribe();
}

void NVCServiceClient::connectionInvalidated()
{
    qCInfo(lcServiceClient, "XPC invalidated for connection: %s", qUtf8Printable(m_serviceName));
    if (shouldTerminateProcessOnXPCInvalidation) {
        qCCritical(lcServiceClient, "Will terminate process due to XPC invalidation");
        terminateProcessWithCode(102);
        return;
    }
    resetSubscriptions();
    trySubscribe();
}

void NVCServiceClient::resetSubscriptions()
{
    QMutexLocker locker(&m_subscriptionLock);
    for (Subscription &subscription : m_subscriptions)
        subscription.alive = false;
}

void NVCServiceClient::trySubscribe()
{
    {
        QMutexLocker locker(&m_connectionLock);
        // The watcher may be the sender of the signal that got us here.
        if (m_watcher)
            m_watcher.release()->deleteLater();
        m_connected = false;
    }
    {
        QMutexLocker locker(&m_subscriptionLock);
        if (m_subscriptions.isEmpty() || m_deallocating)
            return;
    }
    if (m_burndown > 0)
        --m_burndown;
    m_lastRetryDelay = m_burndown > 0 ? m_fastDelay : m_slowDelay;
    qCInfo(
        lcServiceClient, "Attempting to resubscribe everything in %lld sec",
        static_cast<long long>(std::chrono::duration_cast<std::chrono::seconds>(m_lastRetryDelay).count()));
    m_retryTimer.start(m_lastRetryDelay);
}

void NVCServiceClient::continueSubscribe()
{
    QTimer::singleShot(0, this, &NVCServiceClient::doContinueSubscribe);
}

void NVCServiceClient::doContinueSubscribe()
{
    qCDebug(lcServiceClient, "Resubscribing");
    QString protocolName;
    {
        QMutexLocker locker(&m_subscriptionLock);
        for (const Subscription &subscription : std::as_const(m_subscriptions)) {
            if (!subscription.alive) {
                protocolName = subscription.protocolName;
                break;
            }
        }
    }
    if (protocolName.isEmpty())
        return;
    qCInfo(lcServiceClient, "Trying to resubscribe to XPC protocol %s", qUtf8Printable(protocolName));
    QPointer<NVCServiceClient> weakSelf(this);
    subscribeWithProtocol(protocolName, [weakSelf, protocolName](bool subscribed) {
        qCInfo(lcServiceClient, "Re-subscription to protocol %s %s.", qUtf8Printable(protocolName),
               subscribed ? "succeeded" : "failed");
        if (!subscribed || !weakSelf)
            return;
        qCDebug(lcServiceClient, "Moving on to next protocol.");
        weakSelf->continueSubscribe();
        qCDebug(lcServiceClient, "Resetting `trySubscribeBurndown`.");
        weakSelf->m_burndown = kInitialBurndown;
    });
}
