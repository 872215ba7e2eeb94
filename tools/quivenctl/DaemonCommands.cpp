#include "CommandLine.h"
#include "CommandRegistry.h"
#include "DaemonAnswer.h"
#include "NVCQUIVENClient.h"
#include "NVCQUIVENDaemonProtocolProxy.h"
#include "NVCQUIVENDaemonRuleProtocolProxy.h"
#include "RuleCoding.h"
#include "RuleJson.h"

#include <QDBusPendingReply>
#include <QJsonArray>
#include <QJsonObject>

namespace quivenctl {
namespace {

const QString kUsage = QStringLiteral(
    "daemon status | enable [--cleanup] | disable [--cleanup] | reload | delete-failsafe | rules");

// The filter daemon client, with each call waited for and its error handed
// back: the client's own calls only log errors, a tool must print them.
class FilterDaemonCalls : public NVCQUIVENClient
{
public:
    using NVCQUIVENClient::switchFilterCall;

    explicit FilterDaemonCalls(const QDBusConnection &bus)
        : NVCQUIVENClient(bus)
        , m_rules(serviceName(), objectPath(), this->bus())
    {
        quiven::dbus::registerTypes();
    }

    std::optional<QDBusPendingCall>
    call(const std::function<QDBusPendingCall(ComNorvalisNVCQUIVENDaemonProtocolInterface &)> &make,
         QDBusError *error)
    {
        auto *daemon = daemonProxy();
        if (!daemon) {
            *error =
                QDBusError(QDBusError::Disconnected, QStringLiteral("the filter daemon is not reachable"));
            return std::nullopt;
        }
        return wait(make(*daemon), error);
    }

    std::optional<QDBusPendingCall> userRuleset(QDBusError *error)
    {
        if (!connection()) {
            *error =
                QDBusError(QDBusError::Disconnected, QStringLiteral("the filter daemon is not reachable"));
            return std::nullopt;
        }
        return wait(m_rules.getUserRuleset(), error);
    }

private:
    std::optional<QDBusPendingCall> wait(const QDBusPendingCall &pending, QDBusError *error)
    {
        std::optional<QDBusPendingCall> answer;
        deliverSync(
            pending, [&answer](const QDBusPendingCall &reply) { answer = reply; },
            [error](const QDBusError &failure) { *error = failure; });
        return answer;
    }

    ComNorvalisNVCQUIVENDaemonRuleProtocolInterface m_rules;
};

int printStatus(FilterDaemonCalls &daemon)
{
    QDBusError error;
    const auto reply =
        daemon.call([](auto &proxy) { return proxy.getQUIVENFilterStatusWithCallback(); }, &error);
    if (!reply)
        return daemonFailure(error);
    printJson(
        QJsonDocument(QJsonObject{{QStringLiteral("status"), QDBusPendingReply<qlonglong>(*reply).value()}}));
    return ExitSuccess;
}

int switchFilter(FilterDaemonCalls &daemon, bool enabled, bool cleanup)
{
    QDBusError error;
    const auto reply = daemon.call(
        [=](auto &proxy) { return FilterDaemonCalls::switchFilterCall(proxy, enabled, cleanup); }, &error);
    if (!reply)
        return daemonFailure(error);
    if (!QDBusPendingReply<bool>(*reply).value())
        return daemonFailure(enabled ? QStringLiteral("the filter daemon did not switch the filter on")
                                     : QStringLiteral("the filter daemon did not switch the filter off"));
    printJson(QJsonDocument(QJsonObject{{QStringLiteral("enabled"), enabled}}));
    return ExitSuccess;
}

int reload(FilterDaemonCalls &daemon)
{
    QDBusError error;
    const auto reply = daemon.call([](auto &proxy) { return proxy.reloadSystemRulesWithCallback(); }, &error);
    if (!reply)
        return daemonFailure(error);
    if (!QDBusPendingReply<bool>(*reply).value())
        return daemonFailure(QStringLiteral("the filter daemon failed to reload its rules"));
    printJson(QJsonDocument(QJsonObject{{QStringLiteral("reloaded"), true}}));
    return ExitSuccess;
}

int deleteFailsafe(FilterDaemonCalls &daemon)
{
    QDBusError error;
    if (!daemon.call([](auto &proxy) { return proxy.deleteFailsafeLog(); }, &error))
        return daemonFailure(error);
    printJson(QJsonDocument(QJsonObject{{QStringLiteral("deleted"), true}}));
    return ExitSuccess;
}

template <typename Rule> QJsonArray rulesToJson(const QList<std::shared_ptr<Rule>> &rules)
{
    QJsonArray array;
    for (const auto &rule : rules)
        array.append(ruleToJson(*rule));
    return array;
}

int printUserRuleset(FilterDaemonCalls &daemon)
{
    QDBusError error;
    const auto reply = daemon.userRuleset(&error);
    if (!reply)
        return daemonFailure(error);
    const QDBusPendingReply<QList<QVariantMap>, QList<QVariantMap>> archives(*reply);
    QList<WatchRulePtr> watchRules;
    QList<PolicyRulePtr> policyRules;
    QString decodeError;
    if (!quiven::dbus::unarchiveWatchRules(archives.argumentAt<0>(), &watchRules, &decodeError) ||
        !quiven::dbus::unarchivePolicyRules(archives.argumentAt<1>(), &policyRules, &decodeError))
        return daemonFailure(QStringLiteral("the filter daemon sent an unreadable rule: ") + decodeError);
    printJson(QJsonDocument(QJsonObject{{QStringLiteral("watchRules"), rulesToJson(watchRules)},
                                        {QStringLiteral("policyRules"), rulesToJson(policyRules)}}));
    return ExitSuccess;
}

int daemon(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption cleanup(QStringLiteral("cleanup"),
                                     QStringLiteral("Let the daemon clean up when switching the filter."));
    parser.addOption(cleanup);
    if (!parseArguments(parser, arguments, kUsage))
        return ExitUsage;
    const QStringList words = parser.positionalArguments();
    if (words.size() != 1)
        return usageError(QStringLiteral("daemon takes exactly one action"), kUsage);
    const QString action = words.first();
    const QStringList actions{QStringLiteral("status"),          QStringLiteral("enable"),
                              QStringLiteral("disable"),         QStringLiteral("reload"),
                              QStringLiteral("delete-failsafe"), QStringLiteral("rules")};
    if (!actions.contains(action))
        return usageError(QStringLiteral("unknown daemon action '%1'").arg(action), kUsage);
    const bool switches = action == QLatin1String("enable") || action == QLatin1String("disable");
    if (parser.isSet(cleanup) && !switches)
        return usageError(QStringLiteral("--cleanup belongs to enable and disable"), kUsage);

    const QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected())
        return daemonFailure(QStringLiteral("cannot reach the system bus: ") + bus.lastError().message());
    FilterDaemonCalls filter(bus);
    if (action == QLatin1String("status"))
        return printStatus(filter);
    if (switches)
        return switchFilter(filter, action == QLatin1String("enable"), parser.isSet(cleanup));
    if (action == QLatin1String("reload"))
        return reload(filter);
    if (action == QLatin1String("delete-failsafe"))
        return deleteFailsafe(filter);
    return printUserRuleset(filter);
}

const CommandRegistration registration(QStringLiteral("daemon"), kUsage, daemon);

} // namespace
} // namespace quivenctl
