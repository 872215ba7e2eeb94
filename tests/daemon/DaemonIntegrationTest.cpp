#include "BuildPaths.h"
#include "DaemonStack.h"
#include "NVCAuthorizationHolder.h"
#include "NVCQUIVENClient.h"
#include "NVCSettingsPrivilegedClient.h"
#include "RoundTrip.h"
#include "WaitUntil.h"

#include <QDeadlineTimer>
#include <gtest/gtest.h>

namespace {

const QString kTermination = QString::fromLatin1(NVCQUIVENClient::terminationProtocol);

class DaemonIntegration : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(daemons.startSettingsd() && daemons.startFilterd())
            << daemons.failureText().toStdString();
        connection = bus.connect(QStringLiteral("client"));
    }

    DaemonStack daemons{DaemonStack::Checks::InsecureDev};
    PrivateSystemBus &bus = daemons.bus();
    QDBusConnection connection{QString()};
};

TEST_F(DaemonIntegration, OnlyTheSubscribedDaemonTerminatesTheClientAndOnlyShutdownEndsALink)
{
    NVCQUIVENClient client(connection, NVCNamespace(QString()));
    EXPECT_EQ(answerOf<bool>([&](auto done) { client.setQUIVENEnabled(false, false, done); }), true);
    client.registerUserAgent();
    ASSERT_TRUE(waitUntil([&] { return client.isRegistered() && client.isSubscriptionAlive(kTermination); }));
    const NVCListenerEndpoint endpoint = *client.endpointForProtocol(kTermination);
    QDBusPendingCall impostor =
        bus.connect(QStringLiteral("impostor"))
            .asyncCall(QDBusMessage::createMethodCall(endpoint.service, endpoint.path.path(),
                                                      QStringLiteral("com.norvalis.") + kTermination,
                                                      QStringLiteral("terminate")));
    ASSERT_TRUE(waitUntil([&] { return impostor.isFinished(); }));
    EXPECT_EQ(impostor.error().type(), QDBusError::AccessDenied);
    EXPECT_FALSE(client.serviceTerminated());

    daemons.filterd().terminate();
    ASSERT_TRUE(waitUntil([&] { return client.serviceTerminated(); }));
    EXPECT_FALSE(client.isConnected() || client.isRegistered());
    int calls = 0;
    client.reloadSystemRulesWithCallback([&](bool) { ++calls; });
    NVCQUIVENClient other(connection, NVCNamespace(QString()));
    // One fallback answer per request, and nothing for the terminated client.
    for (int asked = 0; asked < 2; ++asked)
        EXPECT_EQ(answerOf<qint64>([&](auto done) { other.getQUIVENFilterStatusWithCallback(done); }), 0);
    EXPECT_EQ(calls, 0);

    // A client shut down without unsubscribing may still make a new link; one shut down for good may not.
    NVCSettingsClient settings(connection, NVCNamespace(QString()));
    const auto settingsError = [&] {
        return answerOf<QDBusError>([&](auto done) {
                   settings.getSystemSettingsWithReply(
                       [done](const QVariantMap &, const QDBusError &error) { done(error); });
               })
            .value_or(QDBusError(QDBusError::Timeout, QString()))
            .type();
    };
    settings.shutdownWithoutUnsubscribe();
    EXPECT_EQ(settingsError(), QDBusError::NoError);
    settings.shutdown();
    EXPECT_EQ(settingsError(), QDBusError::Disconnected);
}

TEST_F(DaemonIntegration, TerminateReachesAClientOfAnotherUser)
{
    ASSERT_TRUE(bus.allowOtherUsers());
    QProcess probe;
    probe.setProcessEnvironment(bus.environment());
    probe.start(QStringLiteral("setpriv"),
                {QStringLiteral("--reuid=65534"), QStringLiteral("--regid=65534"),
                 QStringLiteral("--clear-groups"),
                 quiven::test::builtBinary(QStringLiteral("tests/daemon/quiven-filter-client-probe"))});
    QByteArray output;
    QDeadlineTimer deadline(10000);
    while (!output.contains("subscribed") && !deadline.hasExpired() &&
           probe.state() != QProcess::NotRunning) {
        probe.waitForReadyRead(100);
        output += probe.readAllStandardOutput();
    }
    ASSERT_TRUE(output.contains("subscribed")) << probe.readAllStandardError().data();

    daemons.filterd().terminate();
    ASSERT_TRUE(probe.waitForFinished(10000));
    output += probe.readAllStandardOutput();
    EXPECT_TRUE(output.contains("terminated")) << probe.readAllStandardError().data();
    EXPECT_EQ(probe.exitCode(), 0);
}

TEST_F(DaemonIntegration, SubscriptionSurvivesKillAndRestartAndRetriesSlowDownAfterThirtyFailures)
{
    using std::chrono::milliseconds;
    NVCQUIVENClient client(connection, NVCNamespace(QString()));
    client.setRetryDelays(milliseconds(5), milliseconds(400));
    ASSERT_TRUE(waitUntil([&] { return client.isSubscriptionAlive(kTermination); }));
    client.registerUserAgent();
    ASSERT_TRUE(waitUntil([&] { return client.isRegistered(); }));

    daemons.filterd().kill9();
    ASSERT_TRUE(waitUntil([&] { return client.trySubscribeBurndown() < 30; }));
    EXPECT_FALSE(client.isRegistered());
    EXPECT_EQ(client.nextRetryDelay(), milliseconds(5));
    ASSERT_TRUE(waitUntil([&] { return client.trySubscribeBurndown() == 0; }));
    EXPECT_EQ(client.nextRetryDelay(), milliseconds(400));

    // One success resets the count.
    ASSERT_TRUE(daemons.startFilterd()) << daemons.failureText().toStdString();
    EXPECT_TRUE(waitUntil([&] { return client.isSubscriptionAlive(kTermination); }))
        << daemons.filterd().output().data();
    EXPECT_EQ(client.trySubscribeBurndown(), 30);
}

TEST_F(DaemonIntegration, AClientWithoutSubscriptionsReconnectsOnItsNextCall)
{
    NVCSettingsClient client(connection, NVCNamespace(QString()));
    const auto read = [&] {
        return answerOf<QVariantMap>([&](auto done) { client.getSystemSettingsWithReply(done); });
    };
    ASSERT_TRUE(read());
    daemons.settingsd().kill9();
    ASSERT_TRUE(waitUntil([&] { return !client.isConnected(); }));
    EXPECT_EQ(client.nextRetryDelay().count(), 0) << "no timed retries without subscriptions";

    ASSERT_TRUE(daemons.startSettingsd());
    EXPECT_TRUE(read().value_or(QVariantMap()).contains(QStringLiteral("quiven-system-ruleset-in-use")));
}

TEST_F(DaemonIntegration, SubscriptionsOfAClientThatLeftTheBusAreDropped)
{
    {
        QDBusConnection leaving = bus.connect(QStringLiteral("leaving"));
        NVCQUIVENClient client(leaving, NVCNamespace(QString()));
        ASSERT_TRUE(waitUntil([&] { return client.isSubscriptionAlive(kTermination); }));
        client.shutdownWithoutUnsubscribe();
        QDBusConnection::disconnectFromBus(QStringLiteral("leaving"));
    }
    EXPECT_TRUE(daemons.filterd().waitForOutput("left the bus; dropped 1 subscriptions"))
        << daemons.filterd().output().data();
    daemons.filterd().terminate();
    EXPECT_TRUE(daemons.filterd().output().contains("terminating; telling 0 subscribers"))
        << daemons.filterd().output().data();
}

TEST_F(DaemonIntegration, SettingsClientCachesAndFollowsChanges)
{
    NVCSettingsPrivilegedClient client(connection, NVCNamespace(QString()));
    ASSERT_EQ(answerOf<bool>([&](auto done) { client.startListenersWithReply(done); }), true);
    EXPECT_EQ(client.systemSettings().value(QStringLiteral("quiven-system-ruleset-in-use")).toInt(), 0);
    client.setupSettingsNotification();

    int updates = 0;
    client.addSettingsUpdateCallback([&](const QVariantMap &, const QVariantMap &) { ++updates; });

    int unanswered = 0;
    client.setQUIVENLearningMode(true, std::nullopt, [&](const QDBusError &) { ++unanswered; });

    const auto errorOf = [](auto call) {
        return answerOf<QDBusError>(call).value_or(QDBusError(QDBusError::Timeout, QString())).name();
    };
    EXPECT_EQ(errorOf([&](auto done) { client.setQUIVENSystemRuleSet(2, QByteArray(32, 'a'), done); }),
              QString());
    ASSERT_TRUE(waitUntil([&] { return updates == 1; }));
    EXPECT_EQ(client.systemSettings().value(QStringLiteral("quiven-system-ruleset-in-use")).toInt(), 2);
    EXPECT_EQ(unanswered, 0);

    // The holder setters send the holder they are given.
    const auto utility = std::make_shared<NVCAuthorization>(connection);
    EXPECT_EQ(errorOf([&](auto done) {
                  client.setQUIVENNonAdminCanSaveRules(
                      true,
                      *NVCAuthorizationHolder::withAuthorization(
                          utility->authorizationWithData(QByteArray(32, 'a'), nullptr), utility, true),
                      done);
              }),
              QString());
    ASSERT_TRUE(waitUntil([&] {
        return client.systemSettings().value(QStringLiteral("quiven-policy-save-no-admins")).toBool();
    }));

    // The setting survives a restart of the daemon.
    daemons.settingsd().terminate();
    ASSERT_TRUE(daemons.startSettingsd());
    EXPECT_EQ(answerOf<QVariantMap>([&](auto done) { client.getSystemSettingsWithReply(done); })
                  .value_or(QVariantMap())
                  .value(QStringLiteral("quiven-system-ruleset-in-use")),
              2);

    // Without a bus the holder setters still answer, with the connection's error.
    bus.stop();
    EXPECT_NE(errorOf([&](auto done) {
                  client.setQUIVENAdvancedMode(false, *NVCAuthorizationHolder::withEmptyAuthorization(),
                                               done);
              }),
              QString());
}

} // namespace
