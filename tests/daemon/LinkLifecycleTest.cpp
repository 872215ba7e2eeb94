// How a client's link and call-backs behave across daemon processes, adopted
// links, calls from other threads, and the log lines operators search for.
#include "DaemonStack.h"
#include "LogCapture.h"
#include "NVCQUIVENRuleClient.h"
#include "NVCSettingsClient.h"
#include "RoundTrip.h"
#include "WaitUntil.h"

#include <QDBusMessage>
#include <QMutex>
#include <gtest/gtest.h>
#include <thread>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const QString kTermination = QString::fromLatin1(NVCQUIVENClient::terminationProtocol);
const QString kPolicyChanged = QString::fromLatin1(NVCQUIVENRuleClient::policyChangedProtocol);

class LinkLifecycle : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(daemons.startSettingsd() && daemons.startFilterd())
            << daemons.failureText().toStdString();
        connection = daemons.bus().connect(QStringLiteral("client"));
    }

    // A save the filter daemon takes (it checks no authorization here) and announces.
    bool save(NVCQUIVENRuleClient &client)
    {
        const auto answer = answerOf<QDBusError>(
            [&](auto done) { client.setUserWatchRules({}, {}, QByteArray(32, 'a'), done, {}); });
        return answer && !answer->isValid();
    }

    DaemonStack daemons{DaemonStack::Checks::InsecureDev};
    QDBusConnection connection{QString()};
};

TEST_F(LinkLifecycle, CallBackSetUpRunsOnceForEachDaemonProcess)
{
    NVCQUIVENRuleClient client(connection, NVCNamespace(QString()));
    client.setRetryDelays(milliseconds(50), milliseconds(50));
    int setUps = 0;
    client.subscribeToUpdateWithProtocol(kPolicyChanged, [&] { ++setUps; });
    ASSERT_TRUE(waitUntil([&] { return client.isSubscriptionAlive(kPolicyChanged); }));
    EXPECT_EQ(setUps, 0) << "set up when the daemon connects back, not when subscribing";
    ASSERT_TRUE(save(client) && save(client));
    EXPECT_EQ(setUps, 1);

    daemons.filterd().kill9();
    ASSERT_TRUE(waitUntil([&] { return !client.isSubscriptionAlive(kPolicyChanged); }));
    ASSERT_TRUE(daemons.startFilterd()) << daemons.failureText().toStdString();
    ASSERT_TRUE(waitUntil([&] { return client.isSubscriptionAlive(kPolicyChanged); }));
    ASSERT_TRUE(save(client));
    EXPECT_EQ(setUps, 2);
}

TEST_F(LinkLifecycle, AnAdoptedLinkIsConnectedFromTheStartAndRunsNoHandlers)
{
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
    ASSERT_TRUE(waitUntil([&] { return adopted->isSubscriptionAlive(kTermination); }));

    // A watched client on the same connection shows when the loss has been seen.
    NVCQUIVENClient watched(connection, NVCNamespace(QString()));
    ASSERT_TRUE(waitUntil([&] { return watched.isSubscriptionAlive(kTermination); }));
    daemons.filterd().kill9();
    ASSERT_TRUE(waitUntil([&] { return !watched.isSubscriptionAlive(kTermination); }));

    EXPECT_EQ(handled, 0);
    EXPECT_TRUE(adopted->isConnected());
    EXPECT_EQ(adopted->nextRetryDelay().count(), 0);
}

TEST_F(LinkLifecycle, ALinkMadeFromAWorkerThreadAnswersAndWatchesOnTheOwnerThread)
{
    NVCSettingsClient client(connection, NVCNamespace(QString()));
    std::optional<QThread *> replyThread;
    std::thread worker([&] {
        client.getSystemSettingsWithReply(
            [&](const QVariantMap &, const QDBusError &) { replyThread = QThread::currentThread(); });
    });
    worker.join();
    ASSERT_TRUE(waitUntil([&] { return replyThread.has_value(); }));
    EXPECT_EQ(*replyThread, QThread::currentThread());

    daemons.settingsd().kill9();
    EXPECT_TRUE(waitUntil([&] { return !client.isConnected(); })) << "the daemon's exit went unnoticed";
}

TEST_F(LinkLifecycle, AFailureNoticedOnAWorkerThreadIsHandledOnTheOwnerThread)
{
    LogCapture log;
    NVCQUIVENClient client(connection, NVCNamespace(QString()));
    // Slow retries: the schedule itself must not run during the test.
    client.setRetryDelays(seconds(30), seconds(30));
    ASSERT_TRUE(waitUntil([&] { return client.isSubscriptionAlive(kTermination); }));
    QMutex mutex;
    QList<QThread *> handlerThreads;
    client.setInvalidationHandler([&] {
        QMutexLocker locker(&mutex);
        handlerThreads.append(QThread::currentThread());
    });
    const auto handled = [&] {
        QMutexLocker locker(&mutex);
        return handlerThreads.size();
    };

    daemons.bus().stop();
    ASSERT_TRUE(waitUntil([&] { return handled() == 1 && !client.isConnected(); }));
    const int burndown = client.trySubscribeBurndown();

    std::optional<qint64> status;
    QThread *statusThread = nullptr;
    std::thread worker([&] {
        client.getQUIVENFilterStatusWithCallback([&](qint64 value) {
            statusThread = QThread::currentThread();
            status = value;
        });
    });
    worker.join();
    ASSERT_TRUE(waitUntil([&] { return status.has_value() && handled() == 2; }));
    EXPECT_EQ(*status, 0);
    EXPECT_EQ(statusThread, QThread::currentThread());
    EXPECT_EQ(handlerThreads, (QList<QThread *>{QThread::currentThread(), QThread::currentThread()}));
    // The retry was scheduled, on a timer of the owner thread.
    EXPECT_EQ(client.trySubscribeBurndown(), burndown - 1);
    EXPECT_EQ(client.nextRetryDelay(), milliseconds(seconds(30)));
    EXPECT_FALSE(log.contains(QStringLiteral("another thread"))) << log.dump();
}

// Serves the settings calls of a settings client and announces allow-list
// changes, which the stand-in settings daemon never has.
class AllowListSettingsDaemon : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.norvalis.nrsettingsdProtocol")
public:
    QStringList allowList;

public Q_SLOTS:
    QVariantMap getUserAndSystemSettingsWithReply(QVariantMap &systemSettings)
    {
        systemSettings = {};
        return {};
    }
    QStringList getUserWhitelistWithReply(bool &available)
    {
        available = true;
        return allowList;
    }
};

TEST(AllowList, ItsChangeNotificationIsRegisteredWithTheSettingsOneAndRefreshesTheList)
{
    PrivateSystemBus bus;
    ASSERT_TRUE(bus.isRunning()) << bus.errorText().toStdString();
    QDBusConnection daemonSide = bus.connect(QStringLiteral("allow-list-daemon"));
    AllowListSettingsDaemon daemon;
    daemon.allowList = {QStringLiteral("/usr/bin/first")};
    const QString path = QStringLiteral("/com/norvalis/nrsettingsd");
    ASSERT_TRUE(daemonSide.registerObject(path, &daemon, QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(daemonSide.registerService(QStringLiteral("com.norvalis.nrsettingsd")));

    NVCSettingsClient client(bus.connect(QStringLiteral("client")), NVCNamespace(QString()));
    ASSERT_EQ(answerOf<bool>([&](auto done) { client.startListenersWithReply(done); }), true);
    EXPECT_TRUE(client.isWhitelistNotificationRegistered());
    EXPECT_EQ(client.userWhitelist(), QStringList{QStringLiteral("/usr/bin/first")});

    daemon.allowList = {QStringLiteral("/usr/bin/second")};
    daemonSide.send(QDBusMessage::createSignal(path, QStringLiteral("com.norvalis.nrsettingsdNotifications"),
                                               QStringLiteral("whitelistUpdated")));
    EXPECT_TRUE(waitUntil([&] { return client.userWhitelist() == QStringList{"/usr/bin/second"}; }));
}

TEST_F(LinkLifecycle, LogLinesAsOperatorsKnowThem)
{
    LogCapture log;
    NVCQUIVENClient client(connection, NVCNamespace(QString()));
    ASSERT_TRUE(waitUntil([&] { return client.isSubscriptionAlive(kTermination); }));
    EXPECT_TRUE(
        log.contains("Setting up XPC connection to Mach service com.norvalis.nrquivend with options 4096"));

    // A protocol this client cannot resolve is reported when the daemon calls back on it.
    NVCServiceClient bare(connection, QStringLiteral("com.norvalis.nrquivend"),
                          QStringLiteral("NVCQUIVENDaemonRuleProtocol"), NVCNamespace(QString()));
    bare.subscribeToUpdateWithProtocol(kPolicyChanged);
    ASSERT_TRUE(waitUntil([&] { return bare.isSubscriptionAlive(kPolicyChanged); }));
    EXPECT_FALSE(log.contains("could not resolve protocol"));
    NVCQUIVENRuleClient saver(connection, NVCNamespace(QString()));
    ASSERT_TRUE(save(saver));
    EXPECT_TRUE(log.waitFor("Error: could not resolve protocol NVCQUIVENPolicyChangedProtocol"))
        << log.dump();

    // The daemon's terminate event is logged like an invalidation.
    daemons.filterd().terminate();
    ASSERT_TRUE(waitUntil([&] { return client.serviceTerminated(); }));
    EXPECT_TRUE(log.contains("QUIVEN XPC connection was invalidated! Resetting client registration status"));

    // Unsubscribing without a bus still reports the failure.
    daemons.bus().stop();
    EXPECT_TRUE(bare.unsubscribeProtocol(kPolicyChanged));
    EXPECT_TRUE(log.waitFor("Failed to unsubscribe protocol NVCQUIVENPolicyChangedProtocol, error: "))
        << log.dump();
}

} // namespace

#include "LinkLifecycleTest.moc"
