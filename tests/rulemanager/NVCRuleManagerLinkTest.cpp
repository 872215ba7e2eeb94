// The manager when its link fails: an answer that cannot be decoded or a lost bus.
#include "DBusTypes.h"
#include "DaemonStack.h"
#include "LogCapture.h"
#include "NVCRuleManager.h"
#include "NVCSettingsClient.h"
#include "WaitUntil.h"

#include <gtest/gtest.h>

namespace {

class RuleManagerLink : public ::testing::Test
{
protected:
    void SetUp() override
    {
        daemons.writeSystemFile(QStringLiteral("quiven.rc"),
                                "allow path \"/system/rule\" \"any\" r \"\" \"\" \"0\"\n");
        daemons.writeSettings({{QString::fromLatin1(NVCSettingsClient::policySaveNoAdminsKey), true}});
    }

    void start()
    {
        ASSERT_TRUE(daemons.start()) << daemons.failureText().toStdString();
        connection = daemons.bus().connect(QStringLiteral("rule-manager"));
        manager = std::make_unique<NVCRuleManager>(connection, NVCNamespace(QString()));
        ASSERT_TRUE(answerOf<bool>([&](auto done) { manager->loadSystemRuleSetWithCallback(done); }));
    }

    DaemonStack daemons;
    QDBusConnection connection{QString()};
    std::unique_ptr<NVCRuleManager> manager;
};

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

TEST_F(RuleManagerLink, AnUndecodableRulesetIsLoggedAndEndsTheLoad)
{
    LogCapture log;
    ASSERT_TRUE(daemons.startSettingsd()) << daemons.failureText().toStdString();
    quiven::dbus::registerTypes();
    QDBusConnection daemonSide = daemons.bus().connect(QStringLiteral("undecodable-filter"));
    UndecodableRulesetDaemon filter;
    ASSERT_TRUE(daemonSide.registerObject(QStringLiteral("/com/norvalis/nrquivend"), &filter,
                                          QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(daemonSide.registerService(QStringLiteral("com.norvalis.nrquivend")));

    connection = daemons.bus().connect(QStringLiteral("rule-manager"));
    NVCRuleManager loading(connection, NVCNamespace(QString()));
    bool called = false;
    loading.loadSystemRuleSetWithCallback([&](bool) { called = true; });
    EXPECT_TRUE(log.waitFor(QStringLiteral("XPC error: rule 0: The archived rule's value for \"path\"")))
        << log.dump();
    EXPECT_FALSE(called);
    EXPECT_TRUE(loading.userPolicies().isEmpty());
    // The manager unsubscribes synchronously when it goes; this thread serves that daemon.
    daemonSide.unregisterService(QStringLiteral("com.norvalis.nrquivend"));
}

TEST_F(RuleManagerLink, SavesNameTheirStepAndFailWithoutABusAsReadsDo)
{
    LogCapture log;
    start();
    // The manager names only its own step; the window names the activity.
    bool finalized = false;
    manager->saveUserRulesWithAuthorizationExtRef({}, errAuthorizationSuccess, [&] { finalized = true; });
    ASSERT_TRUE(waitUntil([&] { return finalized; }));
    EXPECT_TRUE(log.contains("Saving user rules to daemon"));
    EXPECT_FALSE(log.contains("QUIVEN user policy")) << log.dump();

    daemons.bus().stop();
    const qsizetype errorsBefore = log.count("XPC error: ");
    finalized = false;
    manager->saveUserRulesWithAuthorizationExtRef({}, errAuthorizationSuccess, [&] { finalized = true; });
    EXPECT_TRUE(waitUntil([&] { return log.count("XPC error: ") > errorsBefore; })) << log.dump();
    const auto failure = answerOf<QDBusError>([&](auto done) {
        manager->quivenClient()->getUserRuleset(
            [](const QList<WatchRulePtr> &, const QList<PolicyRulePtr> &) {}, done);
    });
    ASSERT_TRUE(failure);
    EXPECT_EQ(failure->type(), QDBusError::Disconnected);
    EXPECT_FALSE(finalized);
}

} // namespace

#include "NVCRuleManagerLinkTest.moc"
