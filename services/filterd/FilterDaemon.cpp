#include "FilterDaemon.h"

#include "CallerIdentity.h"
#include "NVCNamespace.h"
#include "NVCQUIVENDaemonProtocolAdaptor.h"
#include "NVCQUIVENDaemonRuleProtocolAdaptor.h"
#include "NVCServiceClientSubscriptionProtocolAdaptor.h"
#include "NVCUserPolicyResponse.h"
#include "ProductFolders.h"
#include "RequestLimits.h"
#include "RuleAdmission.h"
#include "RuleCoding.h"
#include "RuleManager.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QFile>
#include <QLoggingCategory>
#include <QTimer>
#include <malloc.h>

Q_LOGGING_CATEGORY(lcFilterDaemon, "com.norvalis.FilterDaemon")

namespace {

constexpr auto kPolicyChangedProtocol = "NVCQUIVENPolicyChangedProtocol";
constexpr auto kTerminationProtocol = "NVCQUIVENClientTerminationProtocol";
const QStringList kSubscribableProtocols = {QString::fromLatin1(kPolicyChangedProtocol),
                                            QString::fromLatin1(kTerminationProtocol)};

// A request this large leaves the heap grown after its arguments are freed.
constexpr qsizetype kLargeRequestRules = 10000;

void giveMemoryBackLater()
{
    QTimer::singleShot(0, [] { ::malloc_trim(0); });
}

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

void FilterDaemon::runForAuthorizedCaller(CallerRight right, std::function<QVariantList()> work)
{
    setDelayedReply(true);
    const QDBusMessage request = message();
    m_gate->authorizeCaller(request.service(), right, request.isInteractiveAuthorizationAllowed(),
                            [this, request, work = std::move(work)](bool allowed, const QString &refusal) {
                                if (!allowed) {
                                    m_bus.send(request.createErrorReply(
                                        QString::fromLatin1(quiven::dbus::kNotAuthorizedError), refusal));
                                    return;
                                }
                                const QVariantList results = work();
                                if (request.isReplyRequired())
                                    m_bus.send(request.createReply(results));
                            });
}

bool FilterDaemon::setQUIVENEnabled(bool enabled, bool needCleanup)
{
    runForAuthorizedCaller(CallerRight::Administrator, [this, enabled, needCleanup] {
        qCInfo(lcFilterDaemon, "filter %s (cleanup: %d)", enabled ? "enabled" : "disabled", needCleanup);
        m_enabled = enabled;
        return QVariantList{true};
    });
    return false;
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
    runForAuthorizedCaller(CallerRight::LocalSession, [this] { return QVariantList{reloadSystemRules()}; });
    return false;
}

bool FilterDaemon::reloadSystemRules()
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
    const QString agent = message().service();
    runForAuthorizedCaller(CallerRight::LocalSession, [agent] {
        qCInfo(lcFilterDaemon, "user agent registered: %s", qUtf8Printable(agent));
        return QVariantList{true};
    });
    return false;
}

void FilterDaemon::deleteFailsafeLog()
{
    runForAuthorizedCaller(CallerRight::LocalSession, [] {
        const QString failsafe = ProductFolders::failsafeFile();
        for (const QString &path : QStringList{failsafe, failsafe + QStringLiteral(".strict")})
            if (QFile::exists(path) && !QFile::remove(path))
                qCWarning(lcFilterDaemon, "cannot delete %s", qUtf8Printable(path));
        return QVariantList{};
    });
}

QList<QVariantMap> FilterDaemon::getUserRuleset(QList<QVariantMap> &policyRules)
{
    policyRules = quiven::dbus::archivePolicyRules(m_userRuleset.policyRules);
    return quiven::dbus::archiveWatchRules(m_userRuleset.watchRules);
}

void FilterDaemon::setUserWatchRules(const QList<QVariantMap> &watchRules,
                                     const QList<QVariantMap> &policyRules, const QByteArray &authorization)
{
    using quiven::filterd::kMaxRulesPerCall;
    const qsizetype count = watchRules.size() + policyRules.size();
    if (count > kLargeRequestRules)
        giveMemoryBackLater();
    if (count > kMaxRulesPerCall) {
        sendErrorReply(QString::fromLatin1(quiven::dbus::kInvalidArgumentError),
                       QStringLiteral("At most %1 rules may be saved at once").arg(kMaxRulesPerCall));
        return;
    }
    // Who asks, and whether they may, before any work on what they sent.
    const std::optional<uint> uid = quiven::service::callerUid(m_bus, message().service());
    QString error;
    if (!uid) {
        sendErrorReply(QString::fromLatin1(quiven::dbus::kNotAuthorizedError),
                       QStringLiteral("The caller's user cannot be told"));
        return;
    }
    const bool noAdminsNeeded =
        systemSettings().value(QStringLiteral("quiven-policy-save-no-admins")).toBool();
    if (!noAdminsNeeded && !m_gate->allow(authorization, *uid, &error)) {
        sendErrorReply(QString::fromLatin1(quiven::dbus::kNotAuthorizedError), error);
        return;
    }
    const std::optional<quiven::filterd::UserRuleset> ruleset =
        quiven::filterd::admitRules(watchRules, policyRules, &error);
    if (!ruleset) {
        qCWarning(lcFilterDaemon, "user ruleset refused: %s", qUtf8Printable(error));
        sendErrorReply(QString::fromLatin1(quiven::dbus::kInvalidArgumentError), error);
        return;
    }
    if (!quiven::filterd::writeUserRuleset(ProductFolders::localUserFile(), *ruleset, &error)) {
        qCWarning(lcFilterDaemon, "user ruleset not saved: %s", qUtf8Printable(error));
        sendErrorReply(QString::fromLatin1(quiven::dbus::kFailedError), error);
        return;
    }
    m_userRuleset = *ruleset;
    qCInfo(lcFilterDaemon, "user ruleset saved: %lld watch rules, %lld policy rules",
           static_cast<long long>(ruleset->watchRules.size()),
           static_cast<long long>(ruleset->policyRules.size()));
    notifySubscribers(QString::fromLatin1(kPolicyChangedProtocol),
                      QStringLiteral("policyChangedWithWatchRules"),
                      {QVariant::fromValue(quiven::dbus::archiveWatchRules(ruleset->watchRules)),
                       QVariant::fromValue(quiven::dbus::archivePolicyRules(ruleset->policyRules))});
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
    const bool known = m_subscribers.contains(endpoint.service);
    QSet<QString> &paths = m_subscribers[endpoint.service][protocolName];
    if (!paths.contains(endpoint.path.path()) &&
        paths.size() >= quiven::filterd::kMaxSubscriptionsPerProtocol) {
        qCWarning(lcFilterDaemon, "%s holds the most subscriptions to %s already",
                  qUtf8Printable(endpoint.service), qUtf8Printable(protocolName));
        return false;
    }
    paths.insert(endpoint.path.path());
    if (!known) {
        m_subscriberWatcher.addWatchedService(endpoint.service);
        // It may have gone before the watch was in place.
        if (!m_bus.interface()->isServiceRegistered(endpoint.service).value()) {
            dropSubscriber(endpoint.service);
            return true;
        }
    }
    qCInfo(lcFilterDaemon, "%s subscribed to %s at %s", qUtf8Printable(endpoint.service),
           qUtf8Printable(protocolName), qUtf8Printable(endpoint.path.path()));
    return true;
}

void FilterDaemon::unsubscribeEndpoint(const NVCListenerEndpoint &endpoint, const QString &protocolName)
{
    const auto subscriber = m_subscribers.find(endpoint.service);
    if (subscriber == m_subscribers.end())
        return;
    const auto paths = subscriber->find(protocolName);
    if (paths != subscriber->end()) {
        paths->remove(endpoint.path.path());
        if (paths->isEmpty())
            subscriber->erase(paths);
    }
    if (subscriber->isEmpty()) {
        m_subscribers.erase(subscriber);
        m_subscriberWatcher.removeWatchedService(endpoint.service);
    }
}

void FilterDaemon::dropSubscriber(const QString &uniqueName)
{
    m_subscriberWatcher.removeWatchedService(uniqueName);
    qsizetype dropped = 0;
    for (const QSet<QString> &paths : m_subscribers.take(uniqueName))
        dropped += paths.size();
    qCInfo(lcFilterDaemon, "%s left the bus; dropped %lld subscriptions", qUtf8Printable(uniqueName),
           static_cast<long long>(dropped));
}

qsizetype FilterDaemon::subscriptionCount(const QString &protocolName) const
{
    qsizetype count = 0;
    for (const auto &protocols : m_subscribers)
        count += protocols.value(protocolName).size();
    return count;
}

void FilterDaemon::notifySubscribers(const QString &protocolName, const QString &member,
                                     const QVariantList &arguments)
{
    const QString interface = quiven::dbus::interfaceForProtocol(protocolName);
    for (auto subscriber = m_subscribers.cbegin(); subscriber != m_subscribers.cend(); ++subscriber) {
        for (const QString &path : subscriber->value(protocolName)) {
            QDBusMessage call = QDBusMessage::createMethodCall(subscriber.key(), path, interface, member);
            call.setArguments(arguments);
            call.setAutoStartService(false);
            call.setDelayedReply(false);
            m_bus.send(call);
        }
    }
}

void FilterDaemon::announceTermination()
{
    qCInfo(lcFilterDaemon, "terminating; telling %lld subscribers",
           static_cast<long long>(subscriptionCount(QString::fromLatin1(kTerminationProtocol))));
    notifySubscribers(QString::fromLatin1(kTerminationProtocol), QStringLiteral("terminate"), {});
    // One round trip to the bus: it answers only after it has taken every
    // message sent before, so the terminate calls are out before we quit.
    m_bus.call(QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId")));
}
