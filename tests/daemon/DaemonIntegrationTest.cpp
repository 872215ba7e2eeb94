// How clients and their links behave against the running daemons: terminate
// and kill, restarts, adopted links, calls from other threads, and log lines.
#include "BuildPaths.h"
#include "DaemonStack.h"
#include "LogCapture.h"
#include "NVCAuthorizationHolder.h"
#include "NVCQUIVENRuleClient.h"
#include "NVCSettingsPrivilegedClient.h"
#include "WaitUntil.h"

#include <QDBusMessage>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const QString kTermination = QString::fromLatin1(NVCQUIVENClient::terminationProtocol);
const QString kPolicyChanged = QString::fromLatin1(NVCQUIVENRuleClient::policyChangedProtocol);

class DaemonIntegration : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(daemons.startSettingsd() && daemons.startFilterd())
            << daemons.failureText().toStdString();
        connection = bus.connect(QStringLiteral("client"));
    }

    // A save the filter daemon takes (it checks no authorization here) and announces.
    bool save(NVCQUIVENRuleClient &client)
    {
        const auto answer = answerOf<QDBusError>(
            [&](auto done) { client.setUserWatchRules({}, {}, QByteArray(32, 'a'), done, {}); });
        return answer && !answer->isValid();
    }

    DaemonStack daemons{DaemonStack::Checks::InsecureDev};
    PrivateSystemBus &bus = daemons.bus();
    QDBusConnection connection{QString()};
};

TEST_F(DaemonIntegration, OnlyTheSubscribedDaemonTerminatesClientsOfAnyUserAndOnlyShutdownEndsALink)
{
    LogCapture log;
    ASSERT_TRUE(bus.allowOtherUsers());
    StandInProcess stranger(
        QStringLiteral("setpriv"),
        {QStringLiteral("--reuid=65534"), QStringLiteral("--regid=65534"), QStringLiteral("--clear-groups"),
         quiven::test::builtBinary(QStringLiteral("tests/daemon/quiven-filter-client-probe"))},
        bus.environment());
    ASSERT_TRUE(stranger.start(bus, QString()) && stranger.waitForOutput("subscribed", 10000))
        << stranger.output().data();
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
    EXPECT_TRUE(stranger.waitForOutput("terminated", 10000)) << stranger.output().data();
    EXPECT_TRUE(log.contains("QUIVEN XPC connection was invalidated! Resetting client registration status"));
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

TEST_F(DaemonIntegration, LinksSurviveKillAndRestartAndOnlySubscriptionsRetrySlowerAfterThirtyFailures)
{
    NVCQUIVENClient client(connection, NVCNamespace(QString()));
    client.setRetryDelays(milliseconds(5), milliseconds(400));
    NVCSettingsClient settings(connection, NVCNamespace(QString()));
    const auto read = [&] {
        return answerOf<QVariantMap>([&](auto done) { settings.getSystemSettingsWithReply(done); });
    };
    ASSERT_TRUE(read());
    client.registerUserAgent();
    ASSERT_TRUE(waitUntil([&] { return client.isRegistered() && client.isSubscriptionAlive(kTermination); }));

    daemons.filterd().kill9();
    daemons.settingsd().kill9();
    ASSERT_TRUE(waitUntil([&] { return client.trySubscribeBurndown() < 30 && !settings.isConnected(); }));
    EXPECT_FALSE(client.isRegistered());
    EXPECT_EQ(client.nextRetryDelay(), milliseconds(5));
    EXPECT_EQ(settings.nextRetryDelay().count(), 0) << "no timed retries without subscriptions";
    ASSERT_TRUE(waitUntil([&] { return client.trySubscribeBurndown() == 0; }));
    EXPECT_EQ(client.nextRetryDelay(), milliseconds(400));

    // One success resets the count; a client without subscriptions reconnects on its next call.
    ASSERT_TRUE(daemons.startFilterd() && daemons.startSettingsd()) << daemons.failureText().toStdString();
    EXPECT_TRUE(waitUntil([&] { return client.isSubscriptionAlive(kTermination); }))
        << daemons.filterd().output().data();
    EXPECT_EQ(client.trySubscribeBurndown(), 30);
    EXPECT_TRUE(read().value_or(QVariantMap()).contains(QStringLiteral("quiven-system-ruleset-in-use")));
}

TEST_F(DaemonIntegration, SettingsClientCachesAndFollowsChanges)
{
    NVCSettingsPrivilegedClient client(connection, NVCNamespace(QString()));
    ASSERT_EQ(answerOf<bool>([&](auto done) { client.startListenersWithReply(done); }), true);
    client.setupSettingsNotification();

    int updates = 0;
    client.addSettingsUpdateCallback([&](const QVariantMap &, const QVariantMap &) { ++updates; });

    const auto errorOf = [](auto call) {
        return answerOf<QDBusError>(call).value_or(QDBusError(QDBusError::Timeout, QString())).name();
    };
    EXPECT_EQ(errorOf([&](auto done) { client.setQUIVENSystemRuleSet(2, QByteArray(32, 'a'), done); }),
              QString());
    ASSERT_TRUE(waitUntil([&] { return updates == 1; }));
    EXPECT_EQ(client.systemSettings().value(QStringLiteral("quiven-system-ruleset-in-use")).toInt(), 2);

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
}

TEST_F(DaemonIntegration, CallBackSetUpRunsOnceForEachDaemonProcessAndAnAdoptedLinkRunsNoHandlers)
{
    LogCapture log;
    NVCQUIVENRuleClient client(connection, NVCNamespace(QString()));
    client.setRetryDelays(milliseconds(50), milliseconds(50));
    int setUps = 0;
    client.subscribeToUpdateWithProtocol(kPolicyChanged, [&] { ++setUps; });
    const std::unique_ptr<NVCServiceClient> adopted =
        NVCServiceClient::withXpcConnection(connection,
                                            {QStringLiteral("com.norvalis.nrquivend"),
                                             QDBusObjectPath(QStringLiteral("/com/norvalis/nrquivend"))},
                                            QStringLiteral("NVCQUIVENDaemonProtocol"));
    EXPECT_TRUE(adopted->isConnected());
    int handled = 0;
    adopted->setInterruptionHandler([&] { ++handled; });
    adopted->setInvalidationHandler([&] { ++handled; });
    adopted->setReconnectionHandler([&] { ++handled; });
    adopted->subscribeToUpdateWithProtocol(kTermination);
    // A protocol this client cannot resolve is reported when the daemon calls back on it.
    NVCServiceClient bare(connection, QStringLiteral("com.norvalis.nrquivend"),
                          QStringLiteral("NVCQUIVENDaemonRuleProtocol"), NVCNamespace(QString()));
    bare.subscribeToUpdateWithProtocol(kPolicyChanged);
    ASSERT_TRUE(waitUntil([&] {
        return client.isSubscriptionAlive(kPolicyChanged) && adopted->isSubscriptionAlive(kTermination) &&
               bare.isSubscriptionAlive(kPolicyChanged);
    }));
    EXPECT_EQ(setUps, 0) << "set up when the daemon connects back, not when subscribing";
    EXPECT_FALSE(log.contains("could not resolve protocol"));
    ASSERT_TRUE(save(client) && save(client));
    EXPECT_EQ(setUps, 1);
    EXPECT_TRUE(log.waitFor("Error: could not resolve protocol NVCQUIVENPolicyChangedProtocol"))
        << log.dump();

    daemons.filterd().kill9();
    ASSERT_TRUE(waitUntil([&] { return !client.isSubscriptionAlive(kPolicyChanged); }));
    EXPECT_EQ(handled, 0);
    EXPECT_TRUE(adopted->isConnected());
    EXPECT_EQ(adopted->nextRetryDelay().count(), 0);
    ASSERT_TRUE(daemons.startFilterd()) << daemons.failureText().toStdString();
    ASSERT_TRUE(waitUntil([&] { return client.isSubscriptionAlive(kPolicyChanged); }));
    ASSERT_TRUE(save(client));
    EXPECT_EQ(setUps, 2);
}

TEST_F(DaemonIntegration, CallsFromAWorkerThreadAnswerWatchAndFailOnTheOwnerThread)
{
    LogCapture log;
    NVCSettingsClient settings(connection, NVCNamespace(QString()));
    // A thread without an event loop, gone before the answer comes, makes the link.
    const auto reply =
        answerOfWorkerCall<QVariantMap>([&](auto answer) { settings.getSystemSettingsWithReply(answer); });
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->second, QThread::currentThread());
    daemons.settingsd().kill9();
    EXPECT_TRUE(waitUntil([&] { return !settings.isConnected(); })) << "the daemon's exit went unnoticed";

    NVCQUIVENClient client(connection, NVCNamespace(QString()));
    // Slow retries: the schedule itself must not run during the test.
    client.setRetryDelays(seconds(30), seconds(30));
    ASSERT_TRUE(waitUntil([&] { return client.isSubscriptionAlive(kTermination); }));
    QThread *const owner = QThread::currentThread();
    std::atomic<int> handled = 0, handledElsewhere = 0;
    client.setInvalidationHandler([&] {
        ++handled;
        handledElsewhere += QThread::currentThread() != owner;
    });
    bus.stop();
    ASSERT_TRUE(waitUntil([&] { return handled == 1 && !client.isConnected(); }));
    const int burndown = client.trySubscribeBurndown();

    const auto status =
        answerOfWorkerCall<qint64>([&](auto answer) { client.getQUIVENFilterStatusWithCallback(answer); });
    ASSERT_TRUE(status);
    ASSERT_TRUE(waitUntil([&] { return handled == 2; }));
    EXPECT_EQ(status->first, 0);
    EXPECT_EQ(status->second, QThread::currentThread());
    EXPECT_EQ(handledElsewhere, 0);
    // The retry was scheduled, on a timer of the owner thread.
    EXPECT_EQ(client.trySubscribeBurndown(), burndown - 1);
    EXPECT_EQ(client.nextRetryDelay(), milliseconds(seconds(30)));
    EXPECT_FALSE(log.contains(QStringLiteral("another thread"))) << log.dump();
}

} // namespace
