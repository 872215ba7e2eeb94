#pragma once

#include "NVCServiceClient.h"

#include <atomic>

class ComNorvalisNVCQUIVENDaemonProtocolInterface;

// Client of the filter daemon: enable, status, reload, failsafe log, agent
// registration. Goes quiet for good once the daemon sends `terminate`.
class NVCQUIVENClient : public NVCServiceClient
{
    Q_OBJECT
public:
    static constexpr auto terminationProtocol = "NVCQUIVENClientTerminationProtocol";
    static constexpr auto serviceStartedNotification = "com.norvalis.quiven-xpc-service-started";

    explicit NVCQUIVENClient(const QDBusConnection &bus,
                             const NVCNamespace &nameSpace = NVCNamespace::globalNamespace(),
                             QObject *parent = nullptr);
    NVCQUIVENClient(const QDBusConnection &bus, const NVCListenerEndpoint &endpoint,
                    QObject *parent = nullptr);

    void setQUIVENEnabled(bool enabled, bool needCleanup, std::function<void(bool)> callback);
    void getQUIVENFilterStatusWithCallback(std::function<void(qint64)> callback);
    void reloadSystemRules();
    void reloadSystemRulesWithCallback(std::function<void(bool)> callback);
    void deleteFailsafeLog();
    void registerUserAgent();

    // The daemon's terminate event.
    void terminate();

    bool isRegistered() const { return m_isRegistered; }
    bool serviceTerminated() const { return m_serviceTerminated; }

protected:
    // Whether the client follows the daemon's terminate event and its own registration;
    // subclasses that only carry other protocols skip both.
    enum class FilterClientStart
    {
        Full,
        ProxyOnly
    };

    NVCQUIVENClient(const QDBusConnection &bus, const QString &protocolName, const NVCNamespace &nameSpace,
                    FilterClientStart start, QObject *parent);
    NVCSubscriptionListener *createListener(const QString &protocolName) override;

    // The daemon proxy, or null after `terminate` (calls are then dropped).
    ComNorvalisNVCQUIVENDaemonProtocolInterface *daemonProxy();
    // The setQUIVENEnabled call, allowed to ask the user for authorization and
    // waited for as long as that can take.
    static QDBusPendingCall switchFilterCall(ComNorvalisNVCQUIVENDaemonProtocolInterface &daemon,
                                             bool enabled, bool needCleanup);
    static ErrorCallback xpcErrorLogger();

private:
    void doinit();
    // The reply's value goes to the callback; a failed call logs and gives `fallback` instead.
    template <typename Value, typename Callback>
    void deliverValue(const QDBusPendingCall &call, Callback callback, Value fallback);

    ComNorvalisNVCQUIVENDaemonProtocolInterface *m_daemon = nullptr;
    std::atomic_bool m_isRegistered = false;
    std::atomic_bool m_serviceTerminated = false;
};
