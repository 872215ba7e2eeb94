#include "AuthorizationStatus.h"
#include "BuildPaths.h"
#include "ProbeRunner.h"
#include "StandInProcess.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace quiven::test;

namespace {

const QString kPolkitd = QStringLiteral("/usr/lib/polkit-1/polkitd");

// Runs polkitd in its own mount namespace, where the product's action file
// (with the given default answer) is the only one installed.
std::unique_ptr<StandInProcess> startPolkit(const PrivateSystemBus &bus, const QString &actionsDir)
{
    auto polkit = std::make_unique<StandInProcess>(
        QStringLiteral("unshare"),
        QStringList{QStringLiteral("-m"), QStringLiteral("--propagation"), QStringLiteral("private"),
                    QStringLiteral("sh"), QStringLiteral("-c"),
                    QStringLiteral("mount --bind \"$1\" /usr/share/polkit-1/actions && exec ") + kPolkitd +
                        QStringLiteral(" --no-debug"),
                    QStringLiteral("sh"), actionsDir},
        QProcessEnvironment::systemEnvironment());
    if (!polkit->start(bus, QStringLiteral("org.freedesktop.PolicyKit1")))
        return nullptr;
    return polkit;
}

// The product's action file, every default replaced by `answer` unless it is empty.
bool writeAction(const QString &dir, const QString &answer)
{
    QFile source(sourceFile(QStringLiteral("dbus/com.norvalis.quiven.policy")));
    QFile target(QDir(dir).filePath(QStringLiteral("com.norvalis.quiven.policy")));
    if (!source.open(QIODevice::ReadOnly) || !target.open(QIODevice::WriteOnly))
        return false;
    QString text = QString::fromUtf8(source.readAll());
    if (!answer.isEmpty())
        text.replace(QRegularExpression(QStringLiteral("(<allow_[a-z]+>)[^<]*")),
                     QStringLiteral("\\1") + answer);
    const QByteArray bytes = text.toUtf8();
    // polkitd reads the folder after dropping to its own user.
    return target.write(bytes) == bytes.size() &&
           QFile::setPermissions(dir, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                          QFile::ReadOther | QFile::ExeOther | QFile::ReadGroup |
                                          QFile::ExeGroup);
}

TEST(PolkitAuthority, AnswersAsThePolicySays)
{
    if (::geteuid() != 0 || !QFile::exists(kPolkitd))
        GTEST_SKIP() << "needs root (for a private mount namespace) and polkitd";

    struct Case
    {
        const char *answer;
        OSStatus interactive;
        OSStatus quiet;
    };
    // Without an agent polkit cannot prompt, so auth_admin stays a challenge.
    const Case cases[] = {
        {"yes", errAuthorizationSuccess, errAuthorizationSuccess},
        {"no", errAuthorizationDenied, errAuthorizationDenied},
        {"auth_admin", errAuthorizationInteractionNotAllowed, errAuthorizationInteractionNotAllowed},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.answer);
        QTemporaryDir actions;
        ASSERT_TRUE(writeAction(actions.path(), QString::fromLatin1(c.answer)));
        PrivateSystemBus bus({sourceFile(QStringLiteral("tests/authorization/polkit-test-bus.conf"))});
        ASSERT_TRUE(bus.isRunning()) << bus.errorText().toStdString();
        // polkitd and the unprivileged client both need to reach the socket.
        ASSERT_TRUE(bus.allowOtherUsers());
        auto polkit = startPolkit(bus, actions.path());
        if (!polkit)
            GTEST_SKIP() << "polkitd cannot run on a private bus here";
        StandInProcess authority(builtBinary(QStringLiteral("services/authority/quiven-authd")), {},
                                 QProcessEnvironment::systemEnvironment());
        ASSERT_TRUE(authority.start(bus, QStringLiteral("com.norvalis.nrauthd")))
            << authority.output().data();

        // Root is always authorized, so the client runs as an ordinary user.
        const ProbeOutput interactive = runProbe(bus, {QStringLiteral("create")}, true);
        ASSERT_TRUE(interactive.ran);
        EXPECT_EQ(interactive.fields.value(0).toInt(), c.interactive) << authority.output().data();
        const ProbeOutput quiet = runProbe(bus, {QStringLiteral("create"), QStringLiteral("quiet")}, true);
        ASSERT_TRUE(quiet.ran);
        EXPECT_EQ(quiet.fields.value(0).toInt(), c.quiet) << authority.output().data();
    }
}

TEST(PolkitAuthority, DaemonsRefuseCallersOutsideTheSessionByTheShippedDefaults)
{
    if (::geteuid() != 0 || !QFile::exists(kPolkitd))
        GTEST_SKIP() << "needs root (for a private mount namespace) and polkitd";
    QTemporaryDir actions;
    QTemporaryDir shared;
    ASSERT_TRUE(writeAction(actions.path(), QString()));
    ASSERT_TRUE(QFile(shared.filePath(QStringLiteral("failsafe.rc"))).open(QIODevice::WriteOnly));
    PrivateSystemBus bus({sourceFile(QStringLiteral("tests/authorization/polkit-test-bus.conf"))});
    ASSERT_TRUE(bus.isRunning()) << bus.errorText().toStdString();
    ASSERT_TRUE(bus.allowOtherUsers());
    auto polkit = startPolkit(bus, actions.path());
    if (!polkit)
        GTEST_SKIP() << "polkitd cannot run on a private bus here";
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QUIVEN_SHARED_DIR"), shared.path() + u'/');
    StandInProcess authority(builtBinary(QStringLiteral("services/authority/quiven-authd")), {}, environment);
    StandInProcess filterd(builtBinary(QStringLiteral("services/filterd/quiven-filterd")), {}, environment);
    ASSERT_TRUE(authority.start(bus, QStringLiteral("com.norvalis.nrauthd"))) << authority.output().data();
    ASSERT_TRUE(filterd.start(bus, QStringLiteral("com.norvalis.nrquivend"))) << filterd.output().data();

    // setpriv gives a process of no login session: allow_any is no for both actions.
    const QString probe = builtBinary(QStringLiteral("tests/services/quiven-daemon-call-probe"));
    for (const QStringList &call : {QStringList{QStringLiteral("delete-failsafe")},
                                    QStringList{QStringLiteral("enable"), QStringLiteral("false")}}) {
        const ProbeOutput answer = runProgram(bus, probe, call, true);
        ASSERT_TRUE(answer.ran);
        EXPECT_EQ(answer.fields, QStringList{QStringLiteral("com.norvalis.Error.NotAuthorized")})
            << call.join(u' ').toStdString() << authority.output().data();
    }
    EXPECT_TRUE(QFile::exists(shared.filePath(QStringLiteral("failsafe.rc"))));
}

} // namespace
