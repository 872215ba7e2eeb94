#include "DaemonStack.h"
#include "NVCAuthorityVerifier.h"
#include "NVCAuthorizationHolder.h"
#include "NVCSettingsPrivilegedClient.h"
#include "WaitUntil.h"

#include <QCoreApplication>
#include <QDBusContext>
#include <QDBusMessage>
#include <gtest/gtest.h>

namespace {

// Stands in for the settings daemon's authorized interface: records each
// authorization it gets and whether the authority still honoured it then.
class RecordingSettingsDaemon : public QObject, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.norvalis.nrsettingsdAuthorizedProtocol")
public:
    explicit RecordingSettingsDaemon(const QDBusConnection &bus)
        : m_verifier(bus)
    {}

    bool refuse = false;
    QList<QByteArray> tokens;
    QList<bool> grantedWhileHandled;

public Q_SLOTS:
    void setQUIVENLearningModeWithAuthorization(const QVariantMap &authorization, bool)
    {
        const QByteArray token = externalFormFromHolderArchive(authorization);
        tokens << token;
        grantedWhileHandled << m_verifier.verify(token).granted();
        if (refuse)
            sendErrorReply(QStringLiteral("com.norvalis.Error.NotAuthorized"),
                           QStringLiteral("refused by the test"));
    }

private:
    NVCAuthorityVerifier m_verifier;
};

// A private bus with the development authority and the recording daemon.
class PrivilegedClientWithoutForm : public ::testing::Test
{
protected:
    void start(const QString &authorityAnswer)
    {
        ASSERT_TRUE(daemons.startAuthority(authorityAnswer)) << daemons.failureText().toStdString();

        QDBusConnection daemonBus = bus.connect(QStringLiteral("recording-settingsd"));
        daemon = std::make_unique<RecordingSettingsDaemon>(daemonBus);
        ASSERT_TRUE(daemonBus.registerObject(QStringLiteral("/com/norvalis/nrsettingsd"), daemon.get(),
                                             QDBusConnection::ExportAllSlots));
        ASSERT_TRUE(daemonBus.registerService(QStringLiteral("com.norvalis.nrsettingsd")));

        client = std::make_unique<NVCSettingsPrivilegedClient>(bus.connect(QStringLiteral("client")),
                                                               NVCNamespace(QString()));
        client->customizedAuthMessage = QStringLiteral("Tests want to make changes.");
    }

    // A round trip to the recording daemon on the client's connection: every
    // answer sent to the client before it has been handed on when it returns.
    void roundTrip()
    {
        bus.connect(QStringLiteral("client"))
            .call(QDBusMessage::createMethodCall(
                QStringLiteral("com.norvalis.nrsettingsd"), QStringLiteral("/com/norvalis/nrsettingsd"),
                QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping")));
        QCoreApplication::processEvents();
    }

    DaemonStack daemons;
    PrivateSystemBus &bus = daemons.bus();
    std::unique_ptr<RecordingSettingsDaemon> daemon;
    std::unique_ptr<NVCSettingsPrivilegedClient> client;
};

TEST_F(PrivilegedClientWithoutForm, TheAuthorizationLivesExactlyUntilTheDaemonHasAnswered)
{
    start(QStringLiteral("grant"));
    const NVCAuthorityVerifier verifier(bus.connect(QStringLiteral("checker")));
    for (const bool refuse : {false, true}) {
        daemon->refuse = refuse;
        std::optional<QDBusError> answer;
        bool validInCallback = true;
        client->setQUIVENLearningMode(true, std::nullopt, [&](const QDBusError &error) {
            answer = error;
            validInCallback = verifier.verify(daemon->tokens.value(0)).granted();
        });
        ASSERT_TRUE(waitUntil([&] { return answer.has_value(); }, 10000));
        EXPECT_EQ(answer->isValid(), refuse) << answer->message().toStdString();
        ASSERT_EQ(daemon->tokens.size(), 1);
        EXPECT_TRUE(daemon->grantedWhileHandled.value(0));
        // Freed before the caller hears back, so the caller can never reuse it.
        EXPECT_FALSE(validInCallback);
        daemon->tokens.clear();
        daemon->grantedWhileHandled.clear();
    }
}

// The client treats every status but success alike; which status a refusal gives is the backends' test.
TEST_F(PrivilegedClientWithoutForm, ARefusedPromptSendsNothingAndNeverCallsBack)
{
    start(QStringLiteral("deny"));
    int callbacks = 0;
    client->setQUIVENLearningMode(true, std::nullopt, [&](const QDBusError &) { ++callbacks; });
    ASSERT_TRUE(daemons.authority().waitForOutput("Refused"));
    roundTrip();
    EXPECT_EQ(callbacks, 0);
    EXPECT_TRUE(daemon->tokens.isEmpty());
}

} // namespace

#include "PrivilegedClientTest.moc"
