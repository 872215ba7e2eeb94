#include "DBusTypes.h"
#include "DaemonStack.h"
#include "LogCapture.h"
#include "NVCRuleManager.h"

#include <gtest/gtest.h>

namespace {

// Answers the ruleset request with a record the client must refuse.
class UndecodableRulesetDaemon : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.norvalis.NVCQUIVENDaemonRuleProtocol")
public Q_SLOTS:
    QList<QVariantMap> getUserRuleset(QList<QVariantMap> &policyRules)
    {
        policyRules = {{{QStringLiteral("path"), 5}}};
        return {};
    }
};

TEST(RuleManagerLink, AnUndecodableRulesetIsLoggedAndEndsTheLoad)
{
    DaemonStack daemons;
    LogCapture log;
    ASSERT_TRUE(daemons.startSettingsd()) << daemons.failureText().toStdString();
    quiven::dbus::registerTypes();
    QDBusConnection daemonSide = daemons.bus().connect(QStringLiteral("undecodable-filter"));
    UndecodableRulesetDaemon filter;
    ASSERT_TRUE(daemonSide.registerObject(QStringLiteral("/com/norvalis/nrquivend"), &filter,
                                          QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(daemonSide.registerService(QStringLiteral("com.norvalis.nrquivend")));

    NVCRuleManager loading(daemons.bus().connect(QStringLiteral("rule-manager")), NVCNamespace(QString()));
    bool called = false;
    loading.loadSystemRuleSetWithCallback([&](bool) { called = true; });
    EXPECT_TRUE(log.waitFor(QStringLiteral("XPC error: rule 0: The archived rule's value for \"path\"")))
        << log.dump();
    EXPECT_FALSE(called);
    EXPECT_TRUE(loading.userPolicies().isEmpty());
    // The manager unsubscribes synchronously when it goes; this thread serves that daemon.
    daemonSide.unregisterService(QStringLiteral("com.norvalis.nrquivend"));
}

} // namespace

#include "NVCRuleManagerLinkTest.moc"
