#include "BuildPaths.h"
#include "DaemonStack.h"
#include "NVCAuthorizationHolder.h"
#include "NVCQUIVENClient.h"
#include "NVCSettingsPrivilegedClient.h"
#include "RoundTrip.h"
#include "WaitUntil.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <gtest/gtest.h>

namespace {

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

TEST_F(DaemonIntegration, FilterClientCallsReachTheDaemon)
{
    NVCQUIVENClient client(connection, NVCNamespace(QString()));
    std::optional<bool> done;
    client.setQUIVENEnabled(false, false, [&](bool value) { done = value; });
    ASSERT_TRUE(waitUntil([&] { return done.has_value(); }));
    EXPECT_TRUE(*done);

    std::optional<qint64> status;
    client.getQUIVENFilterStatusWithCallback([&](qint64 value) { status = value; });
    ASSERT_TRUE(waitUntil([&] { return status.has_value(); }));
    EXPECT_EQ(*status, 0);

    QFile::copy(QStringLiteral(QUIVEN_SOURCE_DIR "/dbus/com.norvalis.nrquivend.conf"),
                daemons.sharedFolder() + "failsafe.rc");
    QFile::copy(QStringLiteral(QUIVEN_SOURCE_DIR "/dbus/com.norvalis.nrquivend.conf"),
                daemons.sharedFolder() + "failsafe.rc.strict");
    client.deleteFailsafeLog();
    EXPECT_TRUE(waitUntil([&] { return !QFile::exists(daemons.sharedFolder() + "failsafe.rc.strict"); }));
    EXPECT_FALSE(QFile::exists(daemons.sharedFolder() + "failsafe.rc"));

    client.registerUserAgent();
    EXPECT_TRUE(waitUntil([&] { return client.isRegistered(); }));
}

TEST_F(DaemonIntegration, TerminateSilencesTheClientButOnlyShutdownEndsIt)
{
    NVCQUIVENClient client(connection, NVCNamespace(QString()));
    ASSERT_TRUE(waitUntil(
        [&] { return client.isSubscriptionAlive(QStringLiteral("NVCQUIVENClientTerminationProtocol")); }));
    client.registerUserAgent();
    ASSERT_TRUE(waitUntil([&] { return client.isRegistered(); }));
    daemons.filterd().terminate();
    ASSERT_TRUE(waitUntil([&] { return client.serviceTerminated(); }));

    // The terminate event closes the link like an invalidation.
    EXPECT_FALSE(client.isConnected());
    EXPECT_FALSE(client.isRegistered());
    int calls = 0;
    client.reloadSystemRulesWithCallback([&](bool) { ++calls; });

    NVCQUIVENClient other(connection, NVCNamespace(QString()));
    std::vector<qint64> statuses;
    for (std::size_t asked = 1; asked <= 2; ++asked) {
        other.getQUIVENFilterStatusWithCallback([&](qint64 value) { statuses.push_back(value); });
        ASSERT_TRUE(waitUntil([&] { return statuses.size() >= asked; }));
    }
    // One fallback answer per request, and nothing for the terminated client.
    EXPECT_EQ(statuses, (std::vector<qint64>{0, 0}));
    EXPECT_EQ(calls, 0);

    // A client shut down without unsubscribing may still make a new link ...
    NVCSettingsClient settings(connection, NVCNamespace(QString()));
    settings.shutdownWithoutUnsubscribe();
    std::optional<QDBusError> answer;
    settings.getSystemSettingsWithReply(
        [&](const QVariantMap &, const QDBusError &error) { answer = error; });
    ASSERT_TRUE(waitUntil([&] { return answer.has_value(); }));
    EXPECT_FALSE(answer->isValid()) << answer->message().toStdString();

    // ... a client shut down for good may not.
    settings.shutdown();
    answer.reset();
    settings.getSystemSettingsWithReply(
        [&](const QVariantMap &, const QDBusError &error) { answer = error; });
    ASSERT_TRUE(waitUntil([&] { return answer.has_value(); }));
    EXPECT_EQ(answer->type(), QDBusError::Disconnected);
}

TEST_F(DaemonIntegration, OnlyTheSubscribedDaemonMayTerminateTheClient)
{
    NVCQUIVENClient client(connection, NVCNamespace(QString()));
    const QString protocol = QStringLiteral("NVCQUIVENClientTerminationProtocol");
    ASSERT_TRUE(waitUntil([&] { return client.isSubscriptionAlive(protocol); }));
    const NVCListenerEndpoint endpoint = *client.endpointForProtocol(protocol);

    QDBusConnection impostor = bus.connect(QStringLiteral("impostor"));
    // Asynchronous: the client answers from this thread's event loop.
    QDBusPendingCall answer = impostor.asyncCall(QDBusMessage::createMethodCall(
        endpoint.service, endpoint.path.path(), QStringLiteral("com.norvalis.") + protocol,
        QStringLiteral("terminate")));
    ASSERT_TRUE(waitUntil([&] { return answer.isFinished(); }));
    EXPECT_EQ(answer.error().type(), QDBusError::AccessDenied);
    ASSERT_TRUE(filterRoundTrip(connection));
    EXPECT_FALSE(client.serviceTerminated());
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
    const QString protocol = QStringLiteral("NVCQUIVENClientTerminationProtocol");
    ASSERT_TRUE(waitUntil([&] { return client.isSubscriptionAlive(protocol); }));
    client.registerUserAgent();
    ASSERT_TRUE(waitUntil([&] { return client.isRegistered(); }));

    daemons.filterd().kill9();
    ASSERT_TRUE(waitUntil([&] { return client.trySubscribeBurndown() < 30; }));
    EXPECT_FALSE(client.isSubscriptionAlive(protocol));
    EXPECT_FALSE(client.isRegistered());
    EXPECT_EQ(client.nextRetryDelay(), milliseconds(5));
    ASSERT_TRUE(waitUntil([&] { return client.trySubscribeBurndown() == 0; }));
    EXPECT_EQ(client.nextRetryDelay(), milliseconds(400));

    // One success resets the count.
    ASSERT_TRUE(daemons.startFilterd()) << daemons.failureText().toStdString();
    EXPECT_TRUE(waitUntil([&] { return client.isSubscriptionAlive(protocol); }))
        << daemons.filterd().output().data();
    EXPECT_EQ(client.trySubscribeBurndown(), 30);

    // The renewed subscription still delivers the terminate event.
    daemons.filterd().terminate();
    EXPECT_TRUE(waitUntil([&] { return client.serviceTerminated(); }));
}

TEST_F(DaemonIntegration, LosingTheBusConnectionInvalidatesTheClient)
{
    NVCQUIVENClient client(connection, NVCNamespace(QString()));
    client.registerUserAgent();
    ASSERT_TRUE(waitUntil([&] { return client.isRegistered(); }));

    // Noticed without any call in flight.
    bus.stop();
    EXPECT_TRUE(waitUntil([&] { return !client.isRegistered(); }));

    std::vector<qint64> statuses;
    for (std::size_t asked = 1; asked <= 2; ++asked) {
        client.getQUIVENFilterStatusWithCallback([&](qint64 value) { statuses.push_back(value); });
        ASSERT_TRUE(waitUntil([&] { return statuses.size() >= asked; }));
    }
    EXPECT_EQ(statuses, (std::vector<qint64>{0, 0}));
}

TEST_F(DaemonIntegration, AClientWithoutSubscriptionsReconnectsOnItsNextCall)
{
    NVCSettingsClient client(connection, NVCNamespace(QString()));
    std::optional<QVariantMap> settings;
    const auto read = [&] {
        settings.reset();
        client.getSystemSettingsWithReply(
            [&](const QVariantMap &value, const QDBusError &) { settings = value; });
        return waitUntil([&] { return settings.has_value(); });
    };
    ASSERT_TRUE(read());
    daemons.settingsd().kill9();
    ASSERT_TRUE(bus.waitForNameGone(QStringLiteral("com.norvalis.nrsettingsd")));
    // The interruption drops the link and schedules nothing.
    ASSERT_TRUE(waitUntil([&] { return !client.isConnected(); }));
    EXPECT_EQ(client.nextRetryDelay().count(), 0) << "no timed retries without subscriptions";
    EXPECT_EQ(client.trySubscribeBurndown(), 30);

    ASSERT_TRUE(daemons.startSettingsd());
    ASSERT_TRUE(read());
    EXPECT_TRUE(settings->contains(QStringLiteral("quiven-system-ruleset-in-use")));
}

TEST_F(DaemonIntegration, SubscriptionsOfAClientThatLeftTheBusAreDropped)
{
    {
        QDBusConnection leaving = bus.connect(QStringLiteral("leaving"));
        NVCQUIVENClient client(leaving, NVCNamespace(QString()));
        ASSERT_TRUE(waitUntil([&] {
            return client.isSubscriptionAlive(QStringLiteral("NVCQUIVENClientTerminationProtocol"));
        }));
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
    EXPECT_TRUE(client.systemSettings().isEmpty());
    std::optional<bool> started;
    client.startListenersWithReply([&](bool ok) { started = ok; });
    ASSERT_TRUE(waitUntil([&] { return started.has_value(); }));
    EXPECT_TRUE(*started);
    EXPECT_EQ(client.systemSettings().value(QStringLiteral("quiven-system-ruleset-in-use")).toInt(), 0);
    client.setupSettingsNotification();

    std::vector<int> order;
    client.addSettingsUpdateCallback([&](const QVariantMap &, const QVariantMap &) { order.push_back(1); });
    client.addSettingsUpdateCallback([&](const QVariantMap &, const QVariantMap &) { order.push_back(2); });

    int unanswered = 0;
    client.setQUIVENLearningMode(true, std::nullopt, [&](const QDBusError &) { ++unanswered; });

    std::optional<QDBusError> answer;
    client.setQUIVENSystemRuleSet(2, QByteArray(32, 'a'), [&](const QDBusError &error) { answer = error; });
    ASSERT_TRUE(waitUntil([&] { return answer.has_value(); }));
    EXPECT_FALSE(answer->isValid()) << answer->message().toStdString();
    ASSERT_TRUE(waitUntil([&] { return order.size() == 2; }));
    EXPECT_EQ(order, (std::vector<int>{1, 2}));
    EXPECT_EQ(client.systemSettings().value(QStringLiteral("quiven-system-ruleset-in-use")).toInt(), 2);
    EXPECT_EQ(unanswered, 0);

    // The holder setters send the holder they are given and report like the others.
    const auto utility = std::make_shared<NVCAuthorization>(connection);
    answer.reset();
    client.setQUIVENAdvancedMode(true, *NVCAuthorizationHolder::withEmptyAuthorization(),
                                 [&](const QDBusError &error) { answer = error; });
    ASSERT_TRUE(waitUntil([&] { return answer.has_value(); }));
    EXPECT_EQ(answer->name(), QStringLiteral("com.norvalis.Error.InvalidArgument"));
    answer.reset();
    client.setQUIVENNonAdminCanSaveRules(
        true,
        *NVCAuthorizationHolder::withAuthorization(
            utility->authorizationWithData(QByteArray(32, 'a'), nullptr), utility, true),
        [&](const QDBusError &error) { answer = error; });
    ASSERT_TRUE(waitUntil([&] { return answer.has_value(); }));
    EXPECT_FALSE(answer->isValid()) << answer->message().toStdString();
    ASSERT_TRUE(waitUntil([&] {
        return client.systemSettings().value(QStringLiteral("quiven-policy-save-no-admins")).toBool();
    }));

    // The setting survives a restart of the daemon.
    daemons.settingsd().terminate();
    ASSERT_TRUE(daemons.startSettingsd());
    std::optional<QVariantMap> reread;
    client.getSystemSettingsWithReply(
        [&](const QVariantMap &settings, const QDBusError &) { reread = settings; });
    ASSERT_TRUE(waitUntil([&] { return reread.has_value(); }));
    EXPECT_EQ(reread->value(QStringLiteral("quiven-system-ruleset-in-use")).toInt(), 2);

    // Without a bus the holder setters still answer, with the connection's error.
    bus.stop();
    answer.reset();
    client.setQUIVENAdvancedMode(false, *NVCAuthorizationHolder::withEmptyAuthorization(),
                                 [&](const QDBusError &error) { answer = error; });
    ASSERT_TRUE(waitUntil([&] { return answer.has_value(); }));
    EXPECT_TRUE(answer->isValid());
}

} // namespace
