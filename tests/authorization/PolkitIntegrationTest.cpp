#include "AuthorizationStatus.h"
#include "BuildPaths.h"
#include "ProbeRunner.h"
#include "StandInProcess.h"
#include "TestFiles.h"

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
    QString text = QString::fromUtf8(readFile(sourceFile(QStringLiteral("dbus/com.norvalis.quiven.policy"))));
    if (!answer.isEmpty())
        text.replace(QRegularExpression(QStringLiteral("(<allow_[a-z]+>)[^<]*")),
                     QStringLiteral("\\1") + answer);
    // polkitd reads the folder after dropping to its own user.
    return text.contains(QStringLiteral("<action")) &&
           writeFile(QDir(dir).filePath(QStringLiteral("com.norvalis.quiven.policy")), text.toUtf8()) &&
           QFile::setPermissions(dir, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner |
                                          QFile::ReadOther | QFile::ExeOther | QFile::ReadGroup |
                                          QFile::ExeGroup);
}

// A private bus with polkitd (the product's action file answering `answer`,
// or the shipped defaults when empty), the authority and the filter daemon.
struct PolkitStack
{
    explicit PolkitStack(const QString &answer)
    {
        ready = writeAction(actions.path(), answer) &&
                writeFile(shared.filePath(QStringLiteral("failsafe.rc")), {}) && bus.isRunning() &&
                bus.allowOtherUsers();
        if (::geteuid() != 0 || !QFile::exists(kPolkitd))
            skipReason = "needs root (for a private mount namespace) and polkitd";
        else if (ready && !(polkit = startPolkit(bus, actions.path())))
            skipReason = "polkitd cannot run on a private bus here";
        ready = ready && polkit && authority.start(bus, QStringLiteral("com.norvalis.nrauthd")) &&
                filterd.start(bus, QStringLiteral("com.norvalis.nrquivend"));
    }

    // Root is always authorized, so callers run as an ordinary user.
    std::string call(const QString &probe, const QStringList &arguments) const
    {
        const ProbeOutput answer = runProgram(bus, builtBinary(probe), arguments, true);
        return answer.ran ? answer.fields.join(u' ').toStdString() : "probe failed";
    }

    std::string logs() const { return QByteArray(authority.output() + filterd.output()).toStdString(); }

    QTemporaryDir actions;
    QTemporaryDir shared;
    QProcessEnvironment environment = [this] {
        QProcessEnvironment withShared = QProcessEnvironment::systemEnvironment();
        withShared.insert(QStringLiteral("QUIVEN_SHARED_DIR"), shared.path() + u'/');
        return withShared;
    }();
    PrivateSystemBus bus{{sourceFile(QStringLiteral("tests/authorization/polkit-test-bus.conf"))}};
    std::unique_ptr<StandInProcess> polkit;
    StandInProcess authority{builtBinary(QStringLiteral("services/authority/quiven-authd")), {}, environment};
    StandInProcess filterd{builtBinary(QStringLiteral("services/filterd/quiven-filterd")), {}, environment};
    bool ready = false;
    std::string skipReason;
};

const QString kDaemonCallProbe = QStringLiteral("tests/services/quiven-daemon-call-probe");
const QString kFilterSwitchProbe = QStringLiteral("tests/authorization/quiven-filter-switch-probe");

// Without an agent polkit cannot prompt, so auth_admin stays a challenge. With
// the shipped defaults (no answer) a caller of no login session is refused.
TEST(PolkitAuthority, AnswersAsThePolicySays)
{
    const std::pair<const char *, OSStatus> cases[] = {
        {"", errAuthorizationSuccess},
        {"yes", errAuthorizationSuccess},
        {"no", errAuthorizationDenied},
        {"auth_admin", errAuthorizationInteractionNotAllowed},
    };
    for (const auto &[answer, status] : cases) {
        SCOPED_TRACE(answer);
        PolkitStack stack{QString::fromLatin1(answer)};
        if (!stack.skipReason.empty())
            GTEST_SKIP() << stack.skipReason;
        ASSERT_TRUE(stack.ready) << stack.bus.errorText().toStdString() << stack.logs();
        if (*answer == 0) {
            for (const QStringList &call : {QStringList{QStringLiteral("delete-failsafe")},
                                            QStringList{QStringLiteral("enable"), QStringLiteral("false")}})
                EXPECT_EQ(stack.call(kDaemonCallProbe, call), "com.norvalis.Error.NotAuthorized")
                    << stack.logs();
            EXPECT_TRUE(QFile::exists(stack.shared.filePath(QStringLiteral("failsafe.rc"))));
            continue;
        }
        for (const char *create : {"create", "create quiet"}) {
            const ProbeOutput out = runProbe(stack.bus, QString::fromLatin1(create).split(u' '), true);
            EXPECT_EQ(out.ran ? out.fields.value(0).toInt() : -1, status) << stack.logs();
        }
        if (status != errAuthorizationInteractionNotAllowed)
            continue;
        // Switching the filter asks the caller's agent only when the call allows
        // interaction, and a turned-down prompt is still a refusal.
        EXPECT_EQ(stack.call(kFilterSwitchProbe, {}),
                  "com.norvalis.quiven.admin com.norvalis.Error.NotAuthorized")
            << stack.logs();
        EXPECT_EQ(stack.call(kFilterSwitchProbe, {QStringLiteral("quiet")}),
                  "- com.norvalis.Error.NotAuthorized")
            << stack.logs();
    }
}

} // namespace
