#pragma once

#include "DBusTypes.h"
#include "PrivilegedChangeGate.h"
#include "UserRulesetFile.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusServiceWatcher>
#include <QHash>
#include <QObject>
#include <QSet>
#include <functional>
#include <memory>

// The filter daemon stand-in: filter switch and status, system rule reload,
// agent registration, the failsafe log, and the user's ruleset with change
// events to subscribers.
class FilterDaemon : public QObject, public QDBusContext
{
    Q_OBJECT
public:
    FilterDaemon(const QDBusConnection &bus, std::unique_ptr<PrivilegedChangeGate> gate,
                 QObject *parent = nullptr);

    bool exportOn(QString *error);
    // Tells every termination subscriber that the daemon goes away.
    void announceTermination();

public Q_SLOTS:
    bool setQUIVENEnabled(bool enabled, bool needCleanup);
    qlonglong getQUIVENFilterStatusWithCallback();
    bool reloadSystemRulesWithCallback();
    bool registerUserAgentWithCallback();
    void deleteFailsafeLog();

    QList<QVariantMap> getUserRuleset(QList<QVariantMap> &policyRules);
    void setUserWatchRules(const QList<QVariantMap> &watchRules, const QList<QVariantMap> &policyRules,
                           const QByteArray &authorization);
    void createOverrideRuleWith(const QVariantMap &response, const QVariantMap &query,
                                const QByteArray &authorization);

    bool subscribeToChangesWithProtocol(const QString &protocolName, const NVCListenerEndpoint &endpoint);
    void unsubscribeEndpoint(const NVCListenerEndpoint &endpoint, const QString &protocolName);

private:
    // Replies later: runs `work` once the gate has authorized the caller of the
    // current message, or answers NotAuthorized. `work` gives the reply's values.
    void runForAuthorizedCaller(CallerRight right, std::function<QVariantList()> work);
    QVariantMap systemSettings();
    bool reloadSystemRules();
    // A subscriber's process left the bus: its call-back objects are gone with it.
    void dropSubscriber(const QString &uniqueName);
    qsizetype subscriptionCount(const QString &protocolName) const;
    void notifySubscribers(const QString &protocolName, const QString &member, const QVariantList &arguments);

    QDBusConnection m_bus;
    std::unique_ptr<PrivilegedChangeGate> m_gate;
    bool m_enabled = true;
    quiven::filterd::UserRuleset m_userRuleset;
    // Unique name -> protocol -> object paths; what a subscription costs does not grow with their number.
    QHash<QString, QHash<QString, QSet<QString>>> m_subscribers;
    QDBusServiceWatcher m_subscriberWatcher;
};
