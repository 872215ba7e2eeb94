#include "BuildPaths.h"
#include "DBusTypes.h"
#include "DaemonStack.h"
#include "NVCAuthorization.h"
#include "NVCPolicyQuery.h"
#include "NVCUserPolicyResponse.h"
#include "PolicyRule.h"
#include "RuleCoding.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCall>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <gtest/gtest.h>

namespace {

const QString kFilter = QStringLiteral("com.norvalis.nrquivend");
const QString kSettings = QStringLiteral("com.norvalis.nrsettingsd");
const QByteArray kSavedRules = "allow path \"/home/ann/kept\" \"any\" r \"\" \"\" \"0\"\n";

QDBusMessage methodCall(const QString &service, const QString &interface, const QString &member)
{
    return QDBusMessage::createMethodCall(service,
                                          QStringLiteral("/com/norvalis/") + service.section(u'.', 2),
                                          QStringLiteral("com.norvalis.") + interface, member);
}

QDBusMessage saveCall(const QList<QVariantMap> &policyRules, const QByteArray &token)
{
    QDBusMessage call = methodCall(kFilter, QStringLiteral("NVCQUIVENDaemonRuleProtocol"),
                                   QStringLiteral("setUserWatchRules"));
    call << QVariant::fromValue(QList<QVariantMap>()) << QVariant::fromValue(policyRules) << token;
    return call;
}

QVariantMap ruleArchive(const QString &path, const QString &process = QStringLiteral("any"))
{
    auto rule = std::make_shared<PolicyRule>();
    rule->path = path;
    rule->processName = process;
    rule->operations = 1;
    return quiven::dbus::archivePolicyRules({rule}).constFirst();
}

class DaemonHardening : public ::testing::Test
{
protected:
    void start(const QString &authAnswer = QStringLiteral("grant"))
    {
        quiven::dbus::registerTypes();
        daemons.writeSharedFile(QStringLiteral("local.quiven.rc"), kSavedRules);
        daemons.writeSharedFile(QStringLiteral("failsafe.rc"), kSavedRules);
        ASSERT_TRUE(daemons.start(authAnswer)) << daemons.failureText().toStdString();
        ASSERT_TRUE(daemons.bus().allowOtherUsers());
        connection = daemons.bus().connect(QStringLiteral("client"));
    }

    QByteArray token()
    {
        NVCAuthorization authorization(connection);
        AuthorizationRef reference;
        EXPECT_EQ(authorization.create(&reference, QStringLiteral("Tests save rules")),
                  errAuthorizationSuccess);
        return reference ? reference->token() : QByteArray();
    }

    QString errorOf(const QDBusMessage &call)
    {
        const QDBusMessage reply = connection.call(call, QDBus::Block, 20000);
        return reply.type() == QDBusMessage::ErrorMessage ? reply.errorName() : QStringLiteral("ok");
    }

    // The answer of the probe running as the unprivileged user 65534.
    QString asStranger(const QStringList &arguments)
    {
        QProcess probe;
        probe.setProcessEnvironment(daemons.environment());
        probe.start(QStringLiteral("setpriv"),
                    QStringList{QStringLiteral("--reuid=65534"), QStringLiteral("--regid=65534"),
                                QStringLiteral("--clear-groups"),
                                quiven::test::builtBinary(
                                    QStringLiteral("tests/services/quiven-daemon-call-probe"))} +
                        arguments);
        probe.waitForFinished(30000);
        return QString::fromUtf8(probe.readAllStandardOutput()).trimmed();
    }

    qlonglong filterStatus()
    {
        const QDBusMessage reply =
            connection.call(methodCall(kFilter, QStringLiteral("NVCQUIVENDaemonProtocol"),
                                       QStringLiteral("getQUIVENFilterStatusWithCallback")));
        return reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0).toLongLong() : -1;
    }

    QVariantMap systemSettings()
    {
        const QDBusMessage reply = connection.call(methodCall(
            kSettings, QStringLiteral("nrsettingsdProtocol"), QStringLiteral("getSystemSettingsWithReply")));
        return qdbus_cast<QVariantMap>(reply.arguments().value(0));
    }

    DaemonStack daemons;
    QDBusConnection connection{QString()};
};

TEST_F(DaemonHardening, CallsWithoutAuthorizationAskAboutTheCaller)
{
    start();
    const QString notAuthorized = QStringLiteral("com.norvalis.Error.NotAuthorized");
    // Outside the active session: no reload, agent or suggestion log.
    for (const char *call : {"reload", "register", "delete-failsafe"})
        EXPECT_EQ(asStranger({QString::fromLatin1(call)}), notAuthorized) << call;
    EXPECT_TRUE(QFile::exists(daemons.sharedFolder() + "failsafe.rc"));

    EXPECT_EQ(errorOf(methodCall(kFilter, QStringLiteral("NVCQUIVENDaemonProtocol"),
                                 QStringLiteral("deleteFailsafeLog"))),
              QStringLiteral("ok"));
    EXPECT_FALSE(QFile::exists(daemons.sharedFolder() + "failsafe.rc"));

    // Switching the filter needs the administrator: here the prompt refuses everyone.
    daemons.authority().terminate();
    ASSERT_TRUE(daemons.startAuthority(QStringLiteral("deny")));
    EXPECT_EQ(asStranger({QStringLiteral("enable"), QStringLiteral("false")}), notAuthorized);
    QDBusMessage switchOff =
        methodCall(kFilter, QStringLiteral("NVCQUIVENDaemonProtocol"), QStringLiteral("setQUIVENEnabled"));
    switchOff << false << false;
    EXPECT_EQ(errorOf(switchOff), notAuthorized);
    EXPECT_EQ(filterStatus(), 1);
    EXPECT_EQ(asStranger({QStringLiteral("reload")}), notAuthorized);
    EXPECT_EQ(daemons.userFile(), kSavedRules);
}

TEST_F(DaemonHardening, AnotherUsersAuthorizationChangesNothing)
{
    start();
    const QString rootsToken = QString::fromLatin1(token().toHex());
    const QString notAuthorized = QStringLiteral("com.norvalis.Error.NotAuthorized");
    EXPECT_EQ(asStranger({QStringLiteral("save"), rootsToken}), notAuthorized);
    EXPECT_EQ(asStranger({QStringLiteral("save")}), notAuthorized);
    EXPECT_EQ(asStranger({QStringLiteral("ruleset"), QStringLiteral("1"), rootsToken}), notAuthorized);
    EXPECT_EQ(daemons.userFile(), kSavedRules);
    EXPECT_EQ(systemSettings().value(QStringLiteral("quiven-system-ruleset-in-use")).toInt(), 0);
    // Both daemons keep serving.
    EXPECT_EQ(filterStatus(), 1);
    EXPECT_EQ(asStranger({QStringLiteral("ruleset"), QStringLiteral("1"), QString()}),
              QStringLiteral("com.norvalis.Error.InvalidArgument"));
}

TEST_F(DaemonHardening, MalformedCallsGetTypedErrorsAndChangeNothing)
{
    start();
    const QByteArray granted = token();
    const QString invalid = QStringLiteral("com.norvalis.Error.InvalidArgument");

    QVariantMap mistyped = ruleArchive(QStringLiteral("/a"));
    mistyped.insert(QStringLiteral("policyClass"), QStringLiteral("allow"));
    const QList<QVariantMap> tooMany(100001);
    struct Case
    {
        const char *what;
        QDBusMessage call;
        QString error;
    };
    QDBusMessage wrongTypes = methodCall(kFilter, QStringLiteral("NVCQUIVENDaemonRuleProtocol"),
                                         QStringLiteral("setUserWatchRules"));
    wrongTypes << QStringLiteral("rules") << 7 << granted;
    QDBusMessage tooFew = methodCall(kFilter, QStringLiteral("NVCQUIVENDaemonRuleProtocol"),
                                     QStringLiteral("setUserWatchRules"));
    tooFew << QVariant::fromValue(QList<QVariantMap>());
    QDBusMessage badEndpoint = methodCall(kFilter, QStringLiteral("NVCServiceClientSubscriptionProtocol"),
                                          QStringLiteral("subscribeToChangesWithProtocol"));
    badEndpoint << QStringLiteral("NVCQUIVENPolicyChangedProtocol") << QStringLiteral("/not/a/struct");
    QDBusMessage mistypedOverride = methodCall(kFilter, QStringLiteral("NVCQUIVENDaemonRuleProtocol"),
                                               QStringLiteral("createOverrideRuleWith"));
    mistypedOverride << QVariantMap{{QStringLiteral("decision"), QStringLiteral("allow")}} << QVariantMap()
                     << QByteArray();

    const Case cases[] = {
        {"wrong types", wrongTypes, QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod")},
        {"too few arguments", tooFew, QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod")},
        {"mistyped endpoint", badEndpoint, QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod")},
        {"mistyped override", mistypedOverride, invalid},
        {"no authorization", saveCall({ruleArchive(QStringLiteral("/a"))}, QByteArray()),
         QStringLiteral("com.norvalis.Error.NotAuthorized")},
        {"too many records, unauthorized", saveCall(tooMany, QByteArray()), invalid},
        {"mistyped key", saveCall({mistyped}, granted), invalid},
        {"oversized path", saveCall({ruleArchive(QString(5000, u'a'))}, granted), invalid},
        {"line feed in a path",
         saveCall({ruleArchive(QStringLiteral("/a\"\nallow prefix \"/\" \"any\" rwcmx \"\" \"\" \"0"))},
                  granted),
         invalid},
        {"carriage return in a process",
         saveCall({ruleArchive(QStringLiteral("/a"), QStringLiteral("x\ry"))}, granted), invalid},
        {"quote in a process", saveCall({ruleArchive(QStringLiteral("/a"), QStringLiteral("x\"y"))}, granted),
         invalid},
        {"paragraph separator in a path",
         saveCall({ruleArchive(QStringLiteral("/a") + QChar(0x2029))}, granted), invalid},
    };
    for (const Case &c : cases) {
        EXPECT_EQ(errorOf(c.call), c.error) << c.what;
        EXPECT_EQ(daemons.userFile(), kSavedRules) << c.what;
    }

    QVariantMap holder{{QStringLiteral("AuthorizationRefHolder"),
                        QVariantMap{{QStringLiteral("AuthorizationRef"), granted}}}};
    for (const qulonglong ruleset : {3ull, ~0ull}) {
        QDBusMessage choose = methodCall(kSettings, QStringLiteral("nrsettingsdAuthorizedProtocol"),
                                         QStringLiteral("setQUIVENSystemRuleSetWithAuthorization"));
        choose << holder << ruleset;
        EXPECT_EQ(errorOf(choose), invalid) << ruleset;
    }
    QDBusMessage noHolder = methodCall(kSettings, QStringLiteral("nrsettingsdAuthorizedProtocol"),
                                       QStringLiteral("setQUIVENLearningModeWithAuthorization"));
    noHolder << QVariantMap{{QStringLiteral("AuthorizationRefHolder"), 5}} << true;
    EXPECT_EQ(errorOf(noHolder), invalid);
    EXPECT_EQ(systemSettings().value(QStringLiteral("quiven-system-ruleset-in-use")).toInt(), 0);
    EXPECT_FALSE(systemSettings().value(QStringLiteral("quiven-learning-mode")).toBool());
    EXPECT_EQ(filterStatus(), 1);

    // A quote in a tag is dropped on writing, so the rule is taken.
    QVariantMap tagged = ruleArchive(QStringLiteral("/home/ann/tagged"));
    tagged.insert(QStringLiteral("tag"), QStringLiteral("a \"quoted\" tag"));
    EXPECT_EQ(errorOf(saveCall({tagged}, granted)), QStringLiteral("ok"));
    EXPECT_TRUE(daemons.userFile().contains("\"a quoted tag\""));
}

TEST_F(DaemonHardening, SaveRefusesToWriteThroughASymbolicLink)
{
    start();
    const QString victim = daemons.systemFolder() + "victim.rc";
    daemons.writeSystemFile(QStringLiteral("victim.rc"), kSavedRules);
    const QString userFile = daemons.sharedFolder() + "local.quiven.rc";
    ASSERT_TRUE(QFile::remove(userFile));
    ASSERT_TRUE(QFile::link(victim, userFile));

    const QDBusMessage reply =
        connection.call(saveCall({ruleArchive(QStringLiteral("/home/ann/new"))}, token()));
    EXPECT_EQ(reply.errorName(), QStringLiteral("com.norvalis.Error.Failed"));
    EXPECT_TRUE(reply.errorMessage().contains(QStringLiteral("symbolic link")));
    EXPECT_TRUE(daemons.filterd().waitForOutput("symbolic link"));
    QFile target(victim);
    ASSERT_TRUE(target.open(QIODevice::ReadOnly));
    EXPECT_EQ(target.readAll(), kSavedRules);
    EXPECT_TRUE(QFileInfo(userFile).isSymLink());
}

TEST_F(DaemonHardening, SubscriptionsPerConnectionAreCapped)
{
    start();
    const auto subscribe = [&](const QString &protocol, int index) {
        QDBusMessage call = methodCall(kFilter, QStringLiteral("NVCServiceClientSubscriptionProtocol"),
                                       QStringLiteral("subscribeToChangesWithProtocol"));
        call << protocol
             << QVariant::fromValue(NVCListenerEndpoint{connection.baseService(),
                                                        QDBusObjectPath(QStringLiteral("/s/%1").arg(index))});
        return connection.call(call).arguments().value(0).toBool();
    };
    const QString changes = QStringLiteral("NVCQUIVENPolicyChangedProtocol");
    for (int index = 0; index < 32; ++index)
        ASSERT_TRUE(subscribe(changes, index)) << index;
    EXPECT_FALSE(subscribe(changes, 32));
    EXPECT_TRUE(subscribe(changes, 0)); // again: nothing new to hold
    EXPECT_TRUE(subscribe(QStringLiteral("NVCQUIVENClientTerminationProtocol"), 0));
}

TEST_F(DaemonHardening, CallerTextCannotForgeLogLines)
{
    start();
    NVCUserPolicyResponse response;
    response.path = QStringLiteral("/tmp/x\n00:00:00.000 info com.norvalis.FilterDaemon: filter disabled");
    QDBusMessage call = methodCall(kFilter, QStringLiteral("NVCQUIVENDaemonRuleProtocol"),
                                   QStringLiteral("createOverrideRuleWith"));
    call << response.archive() << NVCPolicyQuery().archive() << QByteArray();
    EXPECT_EQ(errorOf(call), QStringLiteral("ok"));
    ASSERT_TRUE(daemons.filterd().waitForOutput("override rules are not kept"));
    EXPECT_TRUE(daemons.filterd().output().contains("/tmp/x\\n00:00"));
    EXPECT_FALSE(daemons.filterd().output().contains("\n00:00:00.000 info"));
}

} // namespace
