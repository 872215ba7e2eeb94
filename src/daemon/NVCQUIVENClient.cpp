#include "NVCQUIVENClient.h"

#include "NVCQUIVENClientTerminationProtocolAdaptor.h"
#include "NVCQUIVENDaemonProtocolProxy.h"

#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcQuivenClient, "com.norvalis.NVCQUIVENClient")

namespace {

class TerminationListener : public NVCSubscriptionListener
{
    Q_OBJECT
public:
    TerminationListener(NVCQUIVENClient *client)
        : NVCSubscriptionListener(client)
        , m_quivenClient(client)
    {
        new NVCQUIVENClientTerminationProtocolAdaptor(this);
    }

public Q_SLOTS:
    void terminate()
    {
        // At once: the daemon leaves the bus right after this call, and the
        // link must still be open to close it the way terminate does.
        if (acceptCall() && m_quivenClient)
            m_quivenClient->terminate();
    }

private:
    QPointer<NVCQUIVENClient> m_quivenClient;
};

} // namespace

NVCQUIVENClient::NVCQUIVENClient(const QDBusConnection &bus, const NVCNamespace &nameSpace, QObject *parent)
    : NVCQUIVENClient(bus, QStringLiteral("NVCQUIVENDaemonProtocol"), nameSpace, FilterClientStart::Full,
                      parent)
{}

NVCQUIVENClient::NVCQUIVENClient(const QDBusConnection &bus, const QString &protocolName,
                                 const NVCNamespace &nameSpace, FilterClientStart start, QObject *parent)
    : NVCServiceClient(bus, QString::fromLatin1(quiven::dbus::kFilterServiceName), protocolName, nameSpace,
                       parent)
{
    if (start == FilterClientStart::Full) {
        doinit();
        return;
    }
    m_daemon = new ComNorvalisNVCQUIVENDaemonProtocolInterface(serviceName(), objectPath(), bus, this);
}

NVCQUIVENClient::NVCQUIVENClient(const QDBusConnection &bus, const NVCListenerEndpoint &endpoint,
                                 QObject *parent)
    : NVCServiceClient(bus, endpoint, QStringLiteral("NVCQUIVENDaemonProtocol"), parent)
{
    doinit();
}

void NVCQUIVENClient::doinit()
{
    m_daemon = new ComNorvalisNVCQUIVENDaemonProtocolInterface(serviceName(), objectPath(), bus(), this);
    m_serviceTerminated = false;
    subscribeToUpdateWithProtocol(QString::fromLatin1(terminationProtocol));
    qCDebug(lcQuivenClient, "Setting invalidation handler to connection %s", qUtf8Printable(serviceName()));
    QPointer<NVCQUIVENClient> weakSelf(this);
    setInvalidationHandler([weakSelf] {
        qCCritical(lcQuivenClient,
                   "QUIVEN XPC connection was invalidated! Resetting client registration status");
        if (weakSelf)
            weakSelf->m_isRegistered = false;
    });
    qCDebug(lcQuivenClient, "Setting interruption handler to connection %s", qUtf8Printable(serviceName()));
    setInterruptionHandler([weakSelf] {
        qCCritical(lcQuivenClient,
                   "QUIVEN XPC connection was interrupted! Resetting client registration status");
        if (weakSelf)
            weakSelf->m_isRegistered = false;
    });
}

NVCSubscriptionListener *NVCQUIVENClient::createListener(const QString &protocolName)
{
    if (protocolName == QLatin1String(terminationProtocol))
        return new TerminationListener(this);
    return NVCServiceClient::createListener(protocolName);
}

ComNorvalisNVCQUIVENDaemonProtocolInterface *NVCQUIVENClient::daemonProxy()
{
    if (m_serviceTerminated || deallocating())
        return nullptr;
    // With the bus connection gone the call still goes out, so that it fails
    // through the error path and the caller hears about it.
    connection();
    return m_daemon;
}

NVCServiceClient::ErrorCallback NVCQUIVENClient::xpcErrorLogger()
{
    return [](const QDBusError &error) {
        qCCritical(lcQuivenClient, "XPC error: %s", qUtf8Printable(error.message()));
    };
}

template <typename Value, typename Callback>
void NVCQUIVENClient::deliverValue(const QDBusPendingCall &call, Callback callback, Value fallback)
{
    deliver(
        call,
        [callback](const QDBusPendingCall &answered) {
            if (callback)
                callback(QDBusPendingReply<Value>(answered).value());
        },
        [callback, fallback](const QDBusError &error) {
            xpcErrorLogger()(error);
            if (callback)
                callback(fallback);
        });
}

QDBusPendingCall NVCQUIVENClient::switchFilterCall(ComNorvalisNVCQUIVENDaemonProtocolInterface &daemon,
                                                   bool enabled, bool needCleanup)
{
    // The daemon asks polkit about the caller, which may prompt the user as
    // long as the user takes to answer.
    constexpr int kPromptTimeoutMs = 10 * 60 * 1000;
    QDBusMessage call = QDBusMessage::createMethodCall(daemon.service(), daemon.path(), daemon.interface(),
                                                       QStringLiteral("setQUIVENEnabled"));
    call << enabled << needCleanup;
    call.setInteractiveAuthorizationAllowed(true);
    return daemon.connection().asyncCall(call, kPromptTimeoutMs);
}

void NVCQUIVENClient::setQUIVENEnabled(bool enabled, bool needCleanup, std::function<void(bool)> callback)
{
    auto *daemon = daemonProxy();
    if (!daemon)
        return;
    deliverValue<bool>(switchFilterCall(*daemon, enabled, needCleanup), std::move(callback), false);
}

void NVCQUIVENClient::getQUIVENFilterStatusWithCallback(std::function<void(qint64)> callback)
{
    auto *daemon = daemonProxy();
    if (!daemon)
        return;
    deliverValue<qlonglong>(daemon->getQUIVENFilterStatusWithCallback(), std::move(callback), 0);
}

void NVCQUIVENClient::reloadSystemRules()
{
    auto *daemon = daemonProxy();
    if (!daemon)
        return;
    deliver(
        daemon->reloadSystemRulesWithCallback(),
        [](const QDBusPendingCall &call) {
            if (QDBusPendingReply<bool>(call).value())
                qCInfo(lcQuivenClient, "System rules have been successfully reloaded");
            else
                qCCritical(lcQuivenClient, "Failed to reload system rules");
        },
        xpcErrorLogger());
}

void NVCQUIVENClient::reloadSystemRulesWithCallback(std::function<void(bool)> callback)
{
    auto *daemon = daemonProxy();
    if (!daemon)
        return;
    deliverValue<bool>(daemon->reloadSystemRulesWithCallback(), std::move(callback), false);
}

void NVCQUIVENClient::deleteFailsafeLog()
{
    if (auto *daemon = daemonProxy())
        deliver(daemon->deleteFailsafeLog(), {}, xpcErrorLogger());
}

void NVCQUIVENClient::registerUserAgent()
{
    auto *daemon = daemonProxy();
    if (!daemon)
        return;
    QPointer<NVCQUIVENClient> weakSelf(this);
    deliver(
        daemon->registerUserAgentWithCallback(),
        [weakSelf](const QDBusPendingCall &call) {
            const bool registered = QDBusPendingReply<bool>(call).value();
            qCInfo(lcQuivenClient, "QUIVEN daemon reported registration status: %s",
                   registered ? "success" : "failure");
            if (weakSelf)
                weakSelf->m_isRegistered = registered;
        },
        [weakSelf](const QDBusError &error) {
            qCCritical(lcQuivenClient, "XPC error during agent registration: %s",
                       qUtf8Printable(error.message()));
            if (weakSelf)
                weakSelf->m_isRegistered = false;
        });
}

void NVCQUIVENClient::terminate()
{
    qCInfo(lcQuivenClient, "%s event received from daemon", "-[NVCQUIVENClient terminate]");
    m_serviceTerminated = true;
    shutdownWithoutUnsubscribe();
}

#include "NVCQUIVENClient.moc"
