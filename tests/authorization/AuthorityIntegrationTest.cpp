#include "BuildPaths.h"
#include "DaemonStack.h"
#include "NVCAuthorityVerifier.h"
#include "NVCAuthorization.h"
#include "NVCAuthorizationActor.h"
#include "NVCAuthorizationHolder.h"
#include "ProbeRunner.h"
#include "WaitUntil.h"

#include <QDBusMessage>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace quiven::test;

namespace {

class AuthorityTest : public ::testing::Test
{
protected:
    void startAuthority(const QString &answer = QStringLiteral("grant"))
    {
        ASSERT_TRUE(daemons.startAuthority(answer)) << daemons.failureText().toStdString();
        connection = bus.connect(QStringLiteral("client"));
        utility = std::make_shared<NVCAuthorization>(connection);
        verifier = std::make_unique<NVCAuthorityVerifier>(connection);
    }

    AuthorizationRef grant()
    {
        AuthorizationRef reference;
        EXPECT_EQ(utility->create(&reference, QStringLiteral("Test wants to change things")),
                  errAuthorizationSuccess);
        return reference;
    }

    DaemonStack daemons;
    PrivateSystemBus &bus = daemons.bus();
    QDBusConnection connection{QString()};
    std::shared_ptr<NVCAuthorization> utility;
    std::unique_ptr<NVCAuthorityVerifier> verifier;
};

TEST_F(AuthorityTest, TokenLifeCycle)
{
    startAuthority();
    AuthorizationRef reference = grant();
    ASSERT_TRUE(reference);
    EXPECT_TRUE(utility->isValid(reference));
    EXPECT_EQ(utility->update(reference, QStringLiteral("Again")), errAuthorizationSuccess);

    std::optional<NVCAuthError> error;
    const QByteArray external = utility->dataWithAuthorization(reference, &error);
    ASSERT_EQ(external.size(), 32);
    const AuthorizationRef copy = utility->authorizationWithData(external, &error);
    ASSERT_TRUE(copy);
    EXPECT_TRUE(utility->isValid(copy));

    const NVCAuthorityVerifier::Result verified = verifier->verify(external);
    EXPECT_TRUE(verified.granted());
    EXPECT_EQ(verified.uid, ::getuid());
    EXPECT_EQ(verifier->verify(external, QStringLiteral("system.privilege.other")).status,
              errAuthorizationInvalidSet);

    // Letting go without destroy-rights leaves the right to the other holders.
    AuthorizationRef released = copy;
    EXPECT_EQ(utility->free(&released, kAuthorizationFlagDefaults), errAuthorizationSuccess);
    EXPECT_FALSE(released);
    EXPECT_TRUE(verifier->verify(external).granted());

    utility->destroy(&reference);
    EXPECT_FALSE(reference);
    EXPECT_FALSE(utility->isValid(copy));
    EXPECT_EQ(verifier->verify(external).status, errAuthorizationInvalidRef);
    EXPECT_NE(utility->update(copy, QStringLiteral("Again")), errAuthorizationSuccess);
}

TEST_F(AuthorityTest, MalformedRequestsAreRefused)
{
    startAuthority();
    const AuthorizationRef reference = grant();
    // Raw requests that the client library would never send.
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("com.norvalis.nrauthd"), QStringLiteral("/com/norvalis/nrauthd"),
        QStringLiteral("com.norvalis.NVCAuthorityProtocol"), QStringLiteral("Verify"));
    call << QVariant(reference->token().left(31)) << QStringLiteral("system.privilege.admin");
    EXPECT_EQ(connection.call(call).arguments().value(0).toInt(), errAuthorizationInvalidRef);

    AuthorizationRef none;
    EXPECT_EQ(utility->create(&none, QString(), 0x100), errAuthorizationInvalidFlags);
    EXPECT_FALSE(none);
    EXPECT_TRUE(utility->isValid(reference));
}

TEST_F(AuthorityTest, RefusedAndCancelledRequestsGiveNoToken)
{
    for (const auto &[answer, status] :
         {std::pair{"deny", errAuthorizationDenied}, std::pair{"cancel", errAuthorizationCanceled}}) {
        startAuthority(QString::fromLatin1(answer));
        AuthorizationRef reference;
        EXPECT_EQ(utility->create(&reference, QString()), status) << answer;
        EXPECT_FALSE(reference);
        // The answer also holds for requests that may not prompt.
        EXPECT_EQ(utility->create(&reference, QString(), kAuthorizationFlagExtendRights), status) << answer;
        daemons.authority().terminate();
        ASSERT_TRUE(bus.waitForNameGone(QStringLiteral("com.norvalis.nrauthd")));
    }
}

TEST_F(AuthorityTest, WeakHoldersNeverRevokeWhatTheyDidNotCreate)
{
    startAuthority();
    const AuthorizationRef reference = grant();

    auto weak = NVCAuthorizationHolder::fromArchive(
        NVCAuthorizationHolder::withAuthorization(reference, utility, true)->archive(), utility);
    ASSERT_TRUE(weak);
    bool valid = false;
    weak->checkWithReply([&](bool ok, const auto &) { valid = ok; });
    EXPECT_TRUE(valid);
    EXPECT_TRUE(weak->updateWithLocalizedReason(QStringLiteral("Daemon's reason"), nullptr));
    weak->invalidate();
    EXPECT_TRUE(utility->isValid(reference));

    auto strong = NVCAuthorizationHolder::withAuthorization(reference, utility);
    strong->invalidate();
    EXPECT_FALSE(utility->isValid(reference));
    std::optional<NVCAuthError> error;
    weak->checkWithReply([&](bool ok, const std::optional<NVCAuthError> &e) {
        valid = ok;
        error = e;
    });
    EXPECT_FALSE(valid);
    EXPECT_EQ(error->code, 102);
}

TEST_F(AuthorityTest, ActorKeepsAnAdministratorAuthorizationUntilItLapses)
{
    startAuthority();
    NVCAuthorizationActor actor(NVCAuthorizationActor::AdministratorAuthorization, QStringLiteral("Reason"),
                                utility, std::chrono::milliseconds(300));
    std::shared_ptr<NVCAuthorizationHolder> first;
    actor.askPermissionsWithReply([&](const auto &holder, const auto &) { first = holder; });
    ASSERT_TRUE(waitUntil([&] { return first != nullptr; }));
    ASSERT_TRUE(first->hasAuthorizationReference());

    std::shared_ptr<NVCAuthorizationHolder> second;
    actor.askPermissionsWithReply([&](const auto &holder, const auto &) { second = holder; });
    ASSERT_TRUE(waitUntil([&] { return second != nullptr; }));
    EXPECT_EQ(first, second);
    EXPECT_TRUE(waitUntil([&] { return actor.authorizationState() == NVCAuthorizationActor::None; }));
}

TEST_F(AuthorityTest, TokensBelongToTheUserWhoAskedForThem)
{
    startAuthority();
    ASSERT_TRUE(bus.allowOtherUsers());
    AuthorizationRef rootsReference = grant();
    const QString rootsToken = QString::fromLatin1(rootsReference->token().toHex());

    const ProbeOutput stranger = runProbe(bus, {QStringLiteral("valid"), rootsToken}, true);
    ASSERT_TRUE(stranger.ran) << daemons.authority().output().toStdString();
    EXPECT_EQ(stranger.fields, QStringList{QStringLiteral("0")});
    const ProbeOutput revoke = runProbe(bus, {QStringLiteral("destroy"), rootsToken}, true);
    ASSERT_TRUE(revoke.ran);
    EXPECT_EQ(revoke.fields.value(0).toInt(), errAuthorizationInvalidRef);
    EXPECT_TRUE(utility->isValid(rootsReference));

    const ProbeOutput own = runProbe(bus, {QStringLiteral("create")}, true);
    ASSERT_TRUE(own.ran);
    ASSERT_EQ(own.fields.value(0).toInt(), errAuthorizationSuccess);
    const QByteArray token = QByteArray::fromHex(own.fields.value(1).toLatin1());
    const NVCAuthorityVerifier::Result verified = verifier->verify(token);
    EXPECT_TRUE(verified.granted());
    EXPECT_EQ(verified.uid, 65534u);

    // Only daemons may verify.
    const ProbeOutput verify = runProbe(bus, {QStringLiteral("verify"), own.fields.value(1)}, true);
    ASSERT_TRUE(verify.ran);
    EXPECT_NE(verify.fields.value(0).toInt(), errAuthorizationSuccess);
}

TEST(AuthorityStartup, DevelopmentBackendRefusesTheRealSystemBus)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"),
                       QStringLiteral("unix:path=/run/dbus/system_bus_socket"));
    process.setProcessEnvironment(environment);
    process.start(builtBinary(QStringLiteral("services/authority/quiven-authd")),
                  {QStringLiteral("--dev-backend")});
    ASSERT_TRUE(process.waitForFinished(10000));
    EXPECT_NE(process.exitCode(), 0);
}

} // namespace
