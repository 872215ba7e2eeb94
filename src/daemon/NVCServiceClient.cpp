#include "NVCServiceClient.h"

#include "NVCServiceClientSubscriptionProtocolProxy.h"

#include <QAtomicInteger>
#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVirtualObject>
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

// Exported for a protocol this client cannot resolve: the daemon's call-back
// is taken (and logged) but nothing answers it. Virtual objects are called on
// the bus's own thread; acceptCallFrom() only touches locked state, and the
// client, which owns this object, unregisters it before deleting it.
class UnresolvedProtocolListener : public QDBusVirtualObject
{
public:
    explicit UnresolvedProtocolListener(NVCServiceClient *client)
        : m_client(client)
    {}

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &) override
    {
        m_client->acceptCallFrom(message.service(), this);
        return false;
    }

    QString introspect(const QString &) const override { return {}; }

private:
    NVCServiceClient *m_client;
};

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
    , m_serviceName(nameSpace.namespacedIdLogged(serviceName))
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

NVCServiceClient::NVCServiceClient(const QDBusConnection &bus, const NVCListenerEndpoint &peer,
                                   const QString &protocolName, AdoptedLink)
    : NVCServiceClient(bus, peer, protocolName)
{
    m_connected = true;
}

std::unique_ptr<NVCServiceClient> NVCServiceClient::withXpcConnection(const QDBusConnection &bus,
                                                                      const NVCListenerEndpoint &peer,
                                                                      const QString &protocolName)
{
    return std::unique_ptr<NVCServiceClient>(new NVCServiceClient(bus, peer, protocolName, AdoptedLink{}));
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
    m_destroying = true;
    m_deallocating = true;
    shutdown();
}

bool NVCServiceClient::isOwnerThread() const
{
    return QThread::currentThread() == thread();
}

void NVCServiceClient::assertOwnerThread(const char *where) const
{
    if (isOwnerThread())
        return;
    qCCritical(lcServiceClient, "%s called on a thread that does not own the client for %s", where,
               qUtf8Printable(m_serviceName));
    Q_ASSERT_X(false, where, "called on a thread that does not own the client");
}

bool NVCServiceClient::connection()
{
    QMutexLocker locker(&m_connectionLock);
    if (m_connected)
        return true;
    if (m_deallocating)
        return false;
    if (!m_isEndpoint && m_serviceName.isEmpty()) {
        qCCritical(lcServiceClient, "xpcMachServiceName property is nil");
        Q_ASSERT_X(false, "NVCServiceClient", "xpcMachServiceName property is nil");
        return false;
    }
    if (!m_bus.isConnected()) {
        locker.unlock();
        reportInvalidation();
        return false;
    }
    if (m_isEndpoint)
        qCDebug(lcServiceClient, "Using anonymous endpoint %s %s", qUtf8Printable(m_serviceName),
                qUtf8Printable(m_objectPath));
    else
        qCDebug(lcServiceClient, "Setting up XPC connection to Mach service %s with options %lu",
                qUtf8Printable(m_serviceName), connectionOptions);
    if (m_connectionSetup)
        m_connectionSetup();
    m_connected = true;
    m_linkHasHandlers = true;
    locker.unlock();
    // The watcher delivers on its own thread, so it must live on ours; a
    // caller's worker thread may have no event loop at all.
    if (isOwnerThread())
        installServiceWatcher();
    else
        QMetaObject::invokeMethod(this, &NVCServiceClient::installServiceWatcher, Qt::QueuedConnection);
    return true;
}

bool NVCServiceClient::linkForCall()
{
    return connection() || !m_deallocating;
}

void NVCServiceClient::failShutDown(ErrorCallback error)
{
    QMetaObject::invokeMethod(
        this,
        [error = std::move(error)] {
            error(QDBusError(QDBusError::Disconnected, QStringLiteral("the client has been shut down")));
        },
        Qt::QueuedConnection);
}

void NVCServiceClient::installServiceWatcher()
{
    {
        QMutexLocker locker(&m_connectionLock);
        // The link may have been dropped again before this posted step ran.
        if (!m_connected || !m_linkHasHandlers || m_watcher)
            return;
        m_watcher = std::make_unique<QDBusServiceWatcher>(m_serviceName, m_bus,
                                                          QDBusServiceWatcher::WatchForUnregistration);
        QPointer<NVCServiceClient> weakSelf(this);
        connect(m_watcher.get(), &QDBusServiceWatcher::serviceUnregistered, this, [weakSelf] {
            if (weakSelf)
                weakSelf->reportInterruption();
        });
    }
    if (m_reconnectionHandler)
        m_reconnectionHandler();
}

bool NVCServiceClient::linkReportsEvents() const
{
    QMutexLocker locker(&m_connectionLock);
    return m_connected && m_linkHasHandlers;
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
    if (m_destroying)
        return;
    // Handlers and the recovery (with its retry timer) run on the owner thread.
    if (!isOwnerThread()) {
        QMetaObject::invokeMethod(this, &NVCServiceClient::reportInterruption, Qt::QueuedConnection);
        return;
    }
    if (m_interruptionHandler)
        m_interruptionHandler();
    connectionInterrupted();
}

void NVCServiceClient::reportInvalidation()
{
    if (m_destroying)
        return;
    if (!isOwnerThread()) {
        QMetaObject::invokeMethod(this, &NVCServiceClient::reportInvalidation, Qt::QueuedConnection);
        return;
    }
    if (m_invalidationHandler)
        m_invalidationHandler();
    connectionInvalidated();
}

void NVCServiceClient::busDisconnected()
{
    if (linkReportsEvents())
        reportInvalidation();
}

void NVCServiceClient::handleFailure(const QDBusError &error)
{
    switch (error.type()) {
    case QDBusError::Disconnected:
        if (linkReportsEvents())
            reportInvalidation();
        break;
    case QDBusError::NoReply:
    case QDBusError::ServiceUnknown:
    case QDBusError::NoServer:
        if (linkReportsEvents())
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
    // The listener is exported from, and called on, the owner thread.
    if (!isOwnerThread()) {
        QMetaObject::invokeMethod(
            this,
            [this, protocolName, connectionSetup = std::move(connectionSetup)]() mutable {
                subscribeToUpdateWithProtocol(protocolName, std::move(connectionSetup));
            },
            Qt::QueuedConnection);
        return true;
    }
    {
        QMutexLocker locker(&m_subscriptionLock);
        if (findSubscription(protocolName))
            return true;
        Subscription subscription;
        subscription.protocolName = protocolName;
        subscription.path = nextListenerPathPrefix() + protocolName;
        subscription.connectionSetup = std::move(connectionSetup);
        NVCSubscriptionListener *listener = createListener(protocolName);
        subscription.resolved = listener != nullptr;
        if (listener) {
            subscription.listener = listener;
            m_bus.registerObject(subscription.path, listener, QDBusConnection::ExportAdaptors);
        } else {
            auto *unresolved = new UnresolvedProtocolListener(this);
            subscription.listener = unresolved;
            m_bus.registerVirtualObject(subscription.path, unresolved);
        }
        subscription.listener->setParent(this);
        subscription.listener->setObjectName(subscription.path);
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

bool NVCServiceClient::acceptCallFrom(const QString &sender, const QObject *listener)
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
        // Each daemon process (a restart makes a new one) is a new incoming connection.
        if (subscription.acceptedPeer == sender)
            return true;
        subscription.acceptedPeer = sender;
        if (!subscription.resolved) {
            qCCritical(lcServiceClient, "Error: could not resolve protocol %s",
                       qUtf8Printable(subscription.protocolName));
            return true;
        }
        if (subscription.connectionSetup)
            subscription.connectionSetup();
        qCDebug(lcServiceClient, "%s: Accepted connection %s for listener %s and protocol %s",
                qUtf8Printable(m_serviceName), qUtf8Printable(sender), qUtf8Printable(subscription.path),
                qUtf8Printable(subscription.protocolName));
        return true;
    }
    return false;
}

void NVCServiceClient::dropSubscription(Subscription &subscription)
{
    m_bus.unregisterObject(subscription.path);
    // Later: the listener may be the one whose call is being handled (terminate).
    subscription.listener->deleteLater();
    subscription.listener = nullptr;
}

bool NVCServiceClient::unsubscribeProtocol(const QString &protocolName)
{
    QMutexLocker locker(&m_subscriptionLock);
    Subscription *subscription = findSubscription(protocolName);
    if (!subscription || !subscription->listener)
        return false;
    // The listener lives on the owner thread and is removed there.
    if (!isOwnerThread()) {
        QMetaObject::invokeMethod(
            this, [this, protocolName] { unsubscribeProtocol(protocolName); }, Qt::QueuedConnection);
        return true;
    }
    const NVCListenerEndpoint endpoint{m_bus.baseService(), QDBusObjectPath(subscription->path)};
    // Also sent without a bus, so that the failure is logged like any other.
    // Nobody waits for the answer: a client going away with its window must
    // not hold up the GUI thread; a failure is logged when it arrives.
    // The application keeps the watcher, so a process ending first frees it.
    QCoreApplication *application = QCoreApplication::instance();
    auto *watcher = new QDBusPendingCallWatcher(
        m_subscriptionProxy->unsubscribeEndpoint(endpoint, protocolName),
        application && application->thread() == QThread::currentThread() ? application : nullptr);
    QObject::connect(
        watcher, &QDBusPendingCallWatcher::finished, [protocolName](QDBusPendingCallWatcher *finished) {
            finished->deleteLater();
            if (finished->isError())
                qCWarning(lcServiceClient, "Failed to unsubscribe protocol %s, error: %s",
                          qUtf8Printable(protocolName), qUtf8Printable(finished->error().message()));
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
    assertOwnerThread("shutdown");
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
    assertOwnerThread("shutdownWithoutUnsubscribe");
    m_retryTimer.stop();
    {
        QMutexLocker locker(&m_subscriptionLock);
        for (Subscription &subscription : m_subscriptions)
            dropSubscription(subscription);
        m_subscriptions.clear();
    }
    // Closing the link invalidates it: the owner's handler and the recovery
    // hear of it like of any other invalidation (with nothing left to renew).
    const bool reportsEvents = linkReportsEvents();
    {
        QMutexLocker locker(&m_connectionLock);
        m_watcher.reset();
    }
    if (reportsEvents)
        reportInvalidation();
    QMutexLocker locker(&m_connectionLock);
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
    assertOwnerThread("trySubscribe");
    {
        QMutexLocker locker(&m_connectionLock);
        // The watcher may be the sender of the signal that got us here.
        if (m_watcher)
            m_watcher.release()->deleteLater();
        m_connected = false;
        m_linkHasHandlers = false;
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
    assertOwnerThread("doContinueSubscribe");
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
