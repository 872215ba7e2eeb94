#include "DaemonStack.h"
#include "NVCAuthorization.h"
#include "NVCAuthorizationHolder.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <gtest/gtest.h>

namespace {

// A privileged settings change end to end: client, settings daemon, authority.
class PrivilegedChangeTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(daemons.startAuthority(QStringLiteral("grant")) && daemons.startSettingsd())
            << daemons.failureText().toStdString();
        connection = daemons.bus().connect(QStringLiteral("client"));
        utility = std::make_shared<NVCAuthorization>(connection);
    }

    QDBusMessage setLearningMode(const QVariantMap &holder, bool enabled)
    {
        QDBusMessage call = QDBusMessage::createMethodCall(
            QStringLiteral("com.norvalis.nrsettingsd"), QStringLiteral("/com/norvalis/nrsettingsd"),
            QStringLiteral("com.norvalis.nrsettingsdAuthorizedProtocol"),
            QStringLiteral("setQUIVENLearningModeWithAuthorization"));
        call << holder << enabled;
        return connection.call(call);
    }

    bool learningMode()
    {
        const QDBusMessage reply = connection.call(QDBusMessage::createMethodCall(
            QStringLiteral("com.norvalis.nrsettingsd"), QStringLiteral("/com/norvalis/nrsettingsd"),
            QStringLiteral("com.norvalis.nrsettingsdProtocol"),
            QStringLiteral("getSystemSettingsWithReply")));
        const auto settings = qdbus_cast<QVariantMap>(reply.arguments().value(0));
        return settings.value(QStringLiteral("quiven-learning-mode")).toBool();
    }

    QVariantMap weakHolderFor(const AuthorizationRef &reference)
    {
        return NVCAuthorizationHolder::withAuthorization(reference, utility, true)->archive();
    }

    DaemonStack daemons;
    QDBusConnection connection{QString()};
    std::shared_ptr<NVCAuthorization> utility;
};

TEST_F(PrivilegedChangeTest, ValidAuthorizationMakesTheChange)
{
    AuthorizationRef reference;
    ASSERT_EQ(utility->create(&reference, QStringLiteral("Test wants to switch learning mode")),
              errAuthorizationSuccess);
    const QDBusMessage reply = setLearningMode(weakHolderFor(reference), true);
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    EXPECT_TRUE(learningMode());
}

TEST_F(PrivilegedChangeTest, MissingForgedOrRevokedAuthorizationChangesNothing)
{
    AuthorizationRef reference;
    ASSERT_EQ(utility->create(&reference, QString()), errAuthorizationSuccess);
    const QVariantMap revoked = weakHolderFor(reference);
    utility->destroy(&reference);
    QByteArray forged(32, 'x');

    const QVariantMap holders[] = {
        NVCAuthorizationHolder::withEmptyAuthorization()->archive(),
        weakHolderFor(utility->authorizationWithData(forged, nullptr)),
        revoked,
        {},
    };
    for (const QVariantMap &holder : holders) {
        const QDBusMessage reply = setLearningMode(holder, true);
        EXPECT_EQ(reply.type(), QDBusMessage::ErrorMessage);
        EXPECT_FALSE(learningMode());
    }
    EXPECT_TRUE(daemons.settingsd().isRunning());
}

} // namespace
