#include "FilterDaemon.h"

#include "NVCNamespace.h"
#include "NVCQUIVENDaemonProtocolAdaptor.h"
#include "NVCQUIVENDaemonRuleProtocolAdaptor.h"
#include "NVCServiceClientSubscriptionProtocolAdaptor.h"
#include "NVCUserPolicyResponse.h"
#include "ProductFolders.h"
#include "RuleCoding.h"
#include "RuleManager.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QFile>
#include <QLoggingCategory>
#include <algorithm>

Q_LOGGING_CATEGORY(lcFilterDaemon, "com.norvalis.FilterDaemon")

namespace {

constexpr auto kPolicyChangedProtocol = "NVCQUIVENPolicyChangedProtocol";
constexpr auto kTerminationProtocol = "NVCQUIVENClientTerminationProtocol";
const QStringList kSubscribableProtocols = {QString::fromLatin1(kPolicyChangedProtocol),
                                            QString::fromLatin1(kTerminationProtocol)};

} // namespace

FilterDaemon::FilterDaemon(const QDBusConnection &bus, std::unique_ptr<PrivilegedChangeGate> gate,
                           QObject *parent)
    : QObject(parent)
    , m_bus(bus)
    , m_gate(std::move(gate))
    , m_userRuleset(quiven::filterd::readUserRuleset(ProductFolders::localUserFile()))
{
    quiven::dbus::registerTypes();
    m_subscriberWatcher.setConnection(m_bus);
    m_subscriberWatcher.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&m_subscriberWatcher, &QDBusServiceWatcher::serviceUnregistered, this,
            &FilterDaemon::dropSubscriber);
    new NVCQUIVENDaemonProtocolAdaptor(this);
    new NVCQUIVENDaemonRuleProtocolAdaptor(this);
    new NVCServiceClientSubscriptionProtocolAdaptor(this);
}

bool FilterDaemon::exportOn(QString *error)
{
    const QString path =
        quiven::dbus::objectPathForService(QString::fromLatin1(quiven::dbus::kFilterServiceName));
    if (!m_bus.registerObject(path, this, QDBusConnection::ExportAdaptors)) {
        *error = QStringLiteral("cannot export %1").arg(path);
        return false;
    }
    return true;
}

bool FilterDaemon::setQUIVENEnabled(bool enabled, bool needCleanup)
{
    qCInfo(lcFilterDaemon, "filter %s (cleanup: %d)", enabled ? "enabled" : "disabled", needCleanup);
    m_enabled = enabled;
    return true;
}

qlonglong FilterDaemon::getQUIVENFilterStatusWithCallback()
{
    return m_enabled ? 1 : 0;
}

QVariantMap FilterDaemon::systemSettings()
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        NVCNamespace::namespacedWithId(QString::fromLatin1(quiven::dbus::kSettingsServiceName)),
        quiven::dbus::objectPathForService(QString::fromLatin1(quiven::dbus::kSettingsServiceName)),
        quiven::dbus::interfaceForProtocol(QStringLiteral("nrsettingsdProtocol")),
        QStringLiteral("getSystemSettingsWithReply"));
    const QDBusReply<QVariantMap> reply = m_bus.call(call, QDBus::Block, 5000);
    if (!reply.isValid())
        qCWarning(lcFilterDaemon, "cannot read the system settings: %s",
                  qUtf8Printable(reply.error().message()));
    return reply.isValid() ? reply.value() : QVariantMap();
}

bool FilterDaemon::reloadSystemRulesWithCallback()
{
    const int inUse = systemSettings().value(QStringLiteral("quiven-system-ruleset-in-use"), 0).toInt();
    RuleManager rules;
    const bool loaded = rules.addSystemRuleFiles(inUse);
    if (loaded)
        qCInfo(lcFilterDaemon, "system rules reloaded (ruleset %d)", inUse);
    else
        qCWarning(lcFilterDaemon, "system rules failed to load: %s",
                  qUtf8Printable(rules.lastErrorMessage()));
    return loaded;
}

bool FilterDaemon::registerUserAgentWithCallback()
{
    qCInfo(lcFilterDaemon, "user agent registered: %s", qUtf8Printable(message().service()));
    return true;
}

void FilterDaemon::deleteFailsafeLog()
{
    const QString failsafe = ProductFolders::failsafeFile();
    for (const QString &path : QStringList{failsafe, failsafe + QStringLiteral(".strict")})
        if (QFile::exists(path) && !QFile::remove(path))
            qCWarning(lcFilterDaemon, "cannot delete %s", qUtf8Printable(path));
}

QList<QVariantMap> FilterDaemon::getUserRuleset(QList<QVariantMap> &policyRules)
{
    policyRules = quiven::dbus::archivePolicyRules(m_userRuleset.policyRules);
    return quiven::dbus::archiveWatchRules(m_userRuleset.watchRules);
}

void FilterDaemon::setUserWatchRules(const QList<QVariantMap> &watchRules,
                                     const QList<QVariantMap> &policyRules, const QByteArray &authorization)
{
    quiven::filterd::UserRuleset ruleset;
    QString error;
    if (!quiven::dbus::unarchiveWatchRules(watchRules, &ruleset.watchRules, &error) ||
        !quiven::dbus::unarchivePolicyRules(policyRules, &ruleset.policyRules, &error)) {
        sendErrorReply(QString::fromLatin1(quiven::dbus::kInvalidArgumentError), error);
        return;
    }
    const bool noAdminsNeeded =
        systemSettings().value(QStringLiteral("quiven-policy-save-no-admins")).toBool();
    const uint uid = m_bus.interface()->serviceUid(message().service()).value();
    if (!noAdminsNeeded && !m_gate->allow(authorization, uid, &error)) {
        sendErrorReply(QString::fromLatin1(quiven::dbus::kNotAuthorizedError), error);
        return;
    }
    if (!quiven::filterd::writeUserRuleset(ProductFolders::localUserFile(), ruleset, &error)) {
        sendErrorReply(QString::fromLatin1(quiven::dbus::kFailedError), error);
        return;
    }
    m_userRuleset = ruleset;
    qCInfo(lcFilterDaemon, "user ruleset saved: %lld watch rules, %lld policy rules",
           static_cast<long long>(ruleset.watchRules.size()),
           static_cast<long long>(ruleset.policyRules.size()));
    notifySubscribers(QString::fromLatin1(kPolicyChangedProtocol),
                      QStringLiteral("policyChangedWithWatchRules"),
                      {QVariant::fromValue(quiven::dbus::archiveWatchRules(ruleset.watchRules)),
                       QVariant::fromValue(quiven::dbus::archivePolicyRules(ruleset.policyRules))});
}

void FilterDaemon::createOverrideRuleWith(const QVariantMap &response, const QVariantMap &query,
                                          const QByteArray &)
{
    QString error;
    const auto decodedResponse = NVCUserPolicyResponse::unarchive(response, &error);
    const auto decodedQuery = decodedResponse ? NVCPolicyQuery::unarchive(query, &error) : std::nullopt;
    if (!decodedQuery) {
        qCWarning(lcFilterDaemon, "override rule refused: %s", qUtf8Printable(error));
        // Callers normally send this without waiting; one that waits learns why.
        if (message().isReplyRequired())
            sendErrorReply(QString::fromLatin1(quiven::dbus::kInvalidArgumentError), error);
        return;
    }
    qCInfo(lcFilterDaemon, "override rules are not kept by this daemon: %s",
           qUtf8Printable(decodedResponse->description()));
}

bool FilterDaemon::subscribeToChangesWithProtocol(const QString &protocolName,
                                                  const NVCListenerEndpoint &endpoint)
{
    // Call-backs may only go to the caller's own objects.
    if (!kSubscribableProtocols.contains(protocolName) || endpoint.service != message().service())
        return false;
    if (!m_subscribers.contains(protocolName, endpoint))
        m_subscribers.insert(protocolName, endpoint);
    if (!m_subscriberWatcher.watchedServices().contains(endpoint.service)) {
        m_subscriberWatcher.addWatchedService(endpoint.service);
        // It may have gone before the watch was in place.
        if (!m_bus.interface()->isServiceRegistered(endpoint.service).value())
            dropSubscriber(endpoint.service);
    }
    qCInfo(lcFilterDaemon, "%s subscribed to %s at %s", qUtf8Printable(endpoint.service),
           qUtf8Printable(protocolName), qUtf8Printable(endpoint.path.path()));
    return true;
}

void FilterDaemon::unsubscribeEndpoint(const NVCListenerEndpoint &endpoint, const QString &protocolName)
{
    m_subscribers.remove(protocolName, endpoint);
    const QList<NVCListenerEndpoint> remaining = m_subscribers.values();
    if (std::none_of(remaining.begin(), remaining.end(),
                     [&](const NVCListenerEndpoint &other) { return other.service == endpoint.service; }))
        m_subscriberWatcher.removeWatchedService(endpoint.service);
}

void FilterDaemon::dropSubscriber(const QString &uniqueName)
{
    m_subscriberWatcher.removeWatchedService(uniqueName);
    qsizetype dropped = 0;
    for (auto it = m_subscribers.begin(); it != m_subscribers.end();) {
        if (it.value().service == uniqueName) {
            it = m_subscribers.erase(it);
            ++dropped;
        } else {
            ++it;
        }
    }
    qCInfo(lcFilterDaemon, "%s left the bus; dropped %lld subscriptions", qUtf8Printable(uniqueName),
           static_cast<long long>(dropped));
}

void FilterDaemon::notifySubscribers(const QString &protocolName, const QString &member,
                                     const QVariantList &arguments)
{
    for (const NVCListenerEndpoint &endpoint : m_subscribers.values(protocolName)) {
        QDBusMessage call = QDBusMessage::createMethodCall(
            endpoint.service, endpoint.path.path(), quiven::dbus::interfaceForProtocol(protocolName), member);
        call.setArguments(arguments);
        call.setAutoStartService(false);
        call.setDelayedReply(false);
        m_bus.send(call);
    }
}

void FilterDaemon::announceTermination()
{
    qCInfo(lcFilterDaemon, "terminating; telling %lld subscribers",
           static_cast<long long>(m_subscribers.count(QString::fromLatin1(kTerminationProtocol))));
    notifySubscribers(QString::fromLatin1(kTerminationProtocol), QStringLiteral("terminate"), {});
    // One round trip to the bus: it answers only after it has taken every
    // message sent before, so the terminate calls are out before we quit.
    m_bus.call(QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId")));
}
