#include "BuildPaths.h"
#include "DaemonStack.h"
#include "NVCAuthorityVerifier.h"
#include "NVCAuthorization.h"
#include "NVCAuthorizationActor.h"
#include "NVCAuthorizationHolder.h"
#include "ProbeRunner.h"
#include "WaitUntil.h"

#include <gtest/gtest.h>
#include <unistd.h>

using namespace quiven::test;

namespace {

TEST(Authority, TokensLiveAsTheirHoldersSayAndBelongToTheUserWhoAskedForThem)
{
    DaemonStack daemons;
    PrivateSystemBus &bus = daemons.bus();
    ASSERT_TRUE(daemons.startAuthority(QStringLiteral("grant"))) << daemons.failureText().toStdString();
    QDBusConnection connection = bus.connect(QStringLiteral("client"));
    const auto utility = std::make_shared<NVCAuthorization>(connection);
    const auto verifier = std::make_unique<NVCAuthorityVerifier>(connection);
    const auto grant = [&] {
        AuthorizationRef reference;
        EXPECT_EQ(utility->create(&reference, QStringLiteral("Test wants to change things")),
                  errAuthorizationSuccess);
        return reference;
    };
    AuthorizationRef reference = grant();
    ASSERT_TRUE(reference);
    EXPECT_EQ(utility->update(reference, QStringLiteral("Again")), errAuthorizationSuccess);
    const QByteArray external = utility->dataWithAuthorization(reference, nullptr);
    const AuthorizationRef copy = utility->authorizationWithData(external, nullptr);
    ASSERT_TRUE(copy);
    EXPECT_TRUE(utility->isValid(copy));
    const NVCAuthorityVerifier::Result verified = verifier->verify(external);
    EXPECT_TRUE(verified.granted());
    EXPECT_EQ(verified.uid, ::getuid());
    EXPECT_EQ(verifier->verify(external, QStringLiteral("system.privilege.other")).status,
              errAuthorizationInvalidSet);

    AuthorizationRef none;
    EXPECT_EQ(utility->create(&none, QString(), 0x100), errAuthorizationInvalidFlags);
    EXPECT_FALSE(none);

    // Neither a freed copy nor a weak holder revokes what it did not create.
    AuthorizationRef released = copy;
    EXPECT_EQ(utility->free(&released, kAuthorizationFlagDefaults), errAuthorizationSuccess);
    auto weak = NVCAuthorizationHolder::fromArchive(
        NVCAuthorizationHolder::withAuthorization(reference, utility, true)->archive(), utility);
    ASSERT_TRUE(weak);
    EXPECT_TRUE(weak->updateWithLocalizedReason(QStringLiteral("Daemon's reason"), nullptr));
    weak->invalidate();
    EXPECT_TRUE(verifier->verify(external).granted());

    NVCAuthorizationHolder::withAuthorization(reference, utility)->invalidate();
    EXPECT_FALSE(utility->isValid(copy));
    EXPECT_EQ(verifier->verify(external).status, errAuthorizationInvalidRef);
    EXPECT_NE(utility->update(copy, QStringLiteral("Again")), errAuthorizationSuccess);

    // The actor reuses an administrator authorization until it lapses.
    NVCAuthorizationActor actor(NVCAuthorizationActor::AdministratorAuthorization, QStringLiteral("Reason"),
                                utility, std::chrono::milliseconds(300));
    std::vector<std::shared_ptr<NVCAuthorizationHolder>> holders;
    for (std::size_t asked = 1; asked <= 2; ++asked) {
        actor.askPermissionsWithReply([&](const auto &holder, const auto &) { holders.push_back(holder); });
        ASSERT_TRUE(waitUntil([&] { return holders.size() == asked; }));
    }
    EXPECT_TRUE(holders[0] && holders[0] == holders[1]);
    EXPECT_TRUE(waitUntil([&] { return actor.authorizationState() == NVCAuthorizationActor::None; }));

    ASSERT_TRUE(bus.allowOtherUsers());
    AuthorizationRef rootsReference = grant();
    const QString rootsToken = QString::fromLatin1(rootsReference->token().toHex());

    const ProbeOutput stranger = runProbe(bus, {QStringLiteral("valid"), rootsToken}, true);
    ASSERT_TRUE(stranger.ran) << daemons.authority().output().toStdString();
    EXPECT_EQ(stranger.fields, QStringList{QStringLiteral("0")});
    EXPECT_EQ(runProbe(bus, {QStringLiteral("destroy"), rootsToken}, true).fields.value(0).toInt(),
              errAuthorizationInvalidRef);
    EXPECT_TRUE(utility->isValid(rootsReference));

    const ProbeOutput own = runProbe(bus, {QStringLiteral("create")}, true);
    ASSERT_TRUE(own.ran);
    ASSERT_EQ(own.fields.value(0).toInt(), errAuthorizationSuccess);
    const QByteArray token = QByteArray::fromHex(own.fields.value(1).toLatin1());
    const NVCAuthorityVerifier::Result strangers = verifier->verify(token);
    EXPECT_TRUE(strangers.granted());
    EXPECT_EQ(strangers.uid, 65534u);

    // Only daemons may verify.
    EXPECT_NE(runProbe(bus, {QStringLiteral("verify"), own.fields.value(1)}, true).fields.value(0).toInt(),
              errAuthorizationSuccess);
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
