#pragma once

#include "DBusTypes.h"
#include "NVCNamespace.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusError>
#include <QDBusPendingCall>
#include <QObject>
#include <QPointer>
#include <QRecursiveMutex>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class QDBusServiceWatcher;
class QDBusPendingCallWatcher;
class QDBusVirtualObject;
class NVCServiceClient;
class ComNorvalisNVCServiceClientSubscriptionProtocolInterface;

// The object a client exports for one subscribed protocol; the daemon calls it
// back there. Subclasses attach the protocol's generated adaptor and check
// acceptCall() in each handler.
class NVCSubscriptionListener : public QObject, public QDBusContext
{
    Q_OBJECT
public:
    explicit NVCSubscriptionListener(NVCServiceClient *client);

protected:
    // True when the call comes from the daemon this listener was registered with.
    bool acceptCall();

    QPointer<NVCServiceClient> m_client;
};

// Base of every daemon client: one lazily made link to a service (well-known
// name + object path), proxies whose error callback runs instead of the reply,
// and subscriptions that are re-registered after the daemon comes back.
//
// A client belongs to the thread it was made on: replies, error callbacks,
// handlers and call-backs run there. Calls may come from any thread; the work
// that needs the owner thread (watchers, timers, listeners) is re-posted to it.
class NVCServiceClient : public QObject
{
    Q_OBJECT
public:
    using ErrorCallback = std::function<void(const QDBusError &)>;
    using Handler = std::function<void()>;

    // The option a link to a named service is made with: a daemon on the system bus.
    static constexpr unsigned long connectionPrivileged = 4096;

    // Connects to `serviceName` (namespaced here) on `bus`; the interface is
    // "com.norvalis.<protocolName>" at "/com/norvalis/<daemon>".
    NVCServiceClient(const QDBusConnection &bus, const QString &serviceName, const QString &protocolName,
                     const NVCNamespace &nameSpace = NVCNamespace::globalNamespace(),
                     QObject *parent = nullptr);
    // Connects to a listener endpoint instead of a named service.
    NVCServiceClient(const QDBusConnection &bus, const NVCListenerEndpoint &endpoint,
                     const QString &protocolName, QObject *parent = nullptr);
    // Adopts a link to a peer that is already made: it counts as connected
    // from the start, and nothing watches it (no handlers run for it).
    static std::unique_ptr<NVCServiceClient> withXpcConnection(const QDBusConnection &bus,
                                                               const NVCListenerEndpoint &peer,
                                                               const QString &protocolName);
    ~NVCServiceClient() override;

    QDBusConnection bus() const { return m_bus; }
    QString serviceName() const { return m_serviceName; }
    QString objectPath() const { return m_objectPath; }
    QString protocolName() const { return m_protocolName; }

    // "connection": makes the link when there is none; false once shut down.
    bool connection();
    bool isConnected() const;
    // Whether a call may go out: false only once the client is shut down. With
    // the bus gone it still goes out, so that it fails through its error path.
    bool linkForCall();
    // Gives `error` the error of a shut-down client, on the owner thread.
    void failShutDown(ErrorCallback error);

    unsigned long connectionOptions = connectionPrivileged;
    bool shouldTerminateProcessOnXPCInterruption = false;
    bool shouldTerminateProcessOnXPCInvalidation = false;
    void setReconnectionHandler(Handler handler);
    void setInterruptionHandler(Handler handler);
    void setInvalidationHandler(Handler handler);
    void setConnectionSetup(Handler handler);

    // Delays of the retry schedule (2 s fast, 120 s once the burndown is used up).
    void setRetryDelays(std::chrono::milliseconds fast, std::chrono::milliseconds slow);
    int trySubscribeBurndown() const;
    std::chrono::milliseconds nextRetryDelay() const { return m_lastRetryDelay; }

    // Delivers a call's outcome: the reply handler on success, else only the
    // error callback. Lost-service errors also start the recovery. Both run on
    // this client's thread, whichever thread made the call.
    void deliver(const QDBusPendingCall &call, std::function<void(const QDBusPendingCall &)> reply,
                 ErrorCallback error);
    void deliverSync(QDBusPendingCall call, const std::function<void(const QDBusPendingCall &)> &reply,
                     const ErrorCallback &error);
    // The default error callback of `proxy`: logs only.
    static ErrorCallback loggingErrorCallback();

    bool subscribeToUpdateWithProtocol(const QString &protocolName, Handler connectionSetup = {});
    void subscribeWithProtocol(const QString &protocolName, std::function<void(bool)> callback);
    bool unsubscribeProtocol(const QString &protocolName);
    bool isSubscriptionAlive(const QString &protocolName) const;
    std::optional<NVCListenerEndpoint> endpointForProtocol(const QString &protocolName) const;

    void shutdown();
    void shutdownWithoutUnsubscribe();

    // Called by listeners for each incoming call-back. A sender seen for the
    // first time is a new incoming connection: the protocol's set-up runs for it.
    bool acceptCallFrom(const QString &sender, const QObject *listener);

protected:
    // The object exported for a protocol's call-backs, or null when this
    // client does not know the protocol.
    virtual NVCSubscriptionListener *createListener(const QString &protocolName);
    virtual void terminateProcessWithCode(int code);

    void connectionInterrupted();
    void connectionInvalidated();
    void resetSubscriptions();
    void trySubscribe();
    void continueSubscribe();
    void doContinueSubscribe();

    bool deallocating() const { return m_deallocating; }
    bool isOwnerThread() const;
    // For work that cannot be re-posted: asserts in debug builds, logs in release builds.
    void assertOwnerThread(const char *where) const;

private Q_SLOTS:
    void busDisconnected();

private:
    struct Subscription
    {
        QString protocolName;
        bool alive = false;
        // The exported call-back object; a bare virtual object when this client
        // cannot resolve the protocol.
        QObject *listener = nullptr;
        bool resolved = false;
        QString path;
        Handler connectionSetup;
        // The daemon whose call-backs were last accepted on this listener.
        QString acceptedPeer;
    };

    struct AdoptedLink
    {};
    NVCServiceClient(const QDBusConnection &bus, const NVCListenerEndpoint &peer, const QString &protocolName,
                     AdoptedLink);

    void init();
    void installServiceWatcher();
    // Whether the current link reports interruption and invalidation (an adopted one does not).
    bool linkReportsEvents() const;
    Subscription *findSubscription(const QString &protocolName);
    const Subscription *findSubscription(const QString &protocolName) const;
    void dropSubscription(Subscription &subscription);
    void handleFailure(const QDBusError &error);
    // Run the owner's handler first, then the recovery.
    void reportInterruption();
    void reportInvalidation();

    QDBusConnection m_bus;
    QString m_serviceName;
    QString m_objectPath;
    QString m_protocolName;
    bool m_isEndpoint = false;

    mutable QRecursiveMutex m_connectionLock;
    std::unique_ptr<QDBusServiceWatcher> m_watcher;
    bool m_connected = false;
    bool m_linkHasHandlers = false;
    std::atomic_bool m_deallocating = false;
    // Set first thing in the destructor: the owner's handlers are gone by then.
    std::atomic_bool m_destroying = false;
    // Unique name of the daemon that confirmed our subscriptions; only it may call back.
    QString m_peerName;

    mutable QRecursiveMutex m_subscriptionLock;
    QList<Subscription> m_subscriptions;
    ComNorvalisNVCServiceClientSubscriptionProtocolInterface *m_subscriptionProxy = nullptr;

    Handler m_reconnectionHandler;
    Handler m_interruptionHandler;
    Handler m_invalidationHandler;
    Handler m_connectionSetup;

    std::atomic_int m_burndown = 30;
    std::chrono::milliseconds m_fastDelay{2000};
    std::chrono::milliseconds m_slowDelay{120000};
    std::chrono::milliseconds m_lastRetryDelay{0};
    QTimer m_retryTimer;
};
