#include "BuildPaths.h"
#include "DBusTypes.h"
#include "DaemonStack.h"
#include "NVCAuthorization.h"
#include "NVCAuthorizationHolder.h"
#include "NVCPolicyQuery.h"
#include "NVCUserPolicyResponse.h"
#include "PolicyRule.h"
#include "ProbeRunner.h"
#include "RuleCoding.h"
#include "TestFiles.h"

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QFile>
#include <gtest/gtest.h>

namespace {

const QString kFilter = QStringLiteral("com.norvalis.nrquivend");
const QString kSettings = QStringLiteral("com.norvalis.nrsettingsd");
const QString kNotAuthorized = QStringLiteral("com.norvalis.Error.NotAuthorized");
const QString kInvalid = QStringLiteral("com.norvalis.Error.InvalidArgument");
const QByteArray kSavedRules = "allow path \"/home/ann/kept\" \"any\" r \"\" \"\" \"0\"\n";

QDBusMessage methodCall(const QString &service, const char *interface, const char *member,
                        const QVariantList &arguments = {})
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        service, QStringLiteral("/com/norvalis/") + service.section(u'.', 2),
        QStringLiteral("com.norvalis.") + QLatin1String(interface), QString::fromLatin1(member));
    call.setArguments(arguments);
    return call;
}

QDBusMessage saveCall(const QList<QVariantMap> &policyRules, const QByteArray &token)
{
    return methodCall(kFilter, "NVCQUIVENDaemonRuleProtocol", "setUserWatchRules",
                      {QVariant::fromValue(QList<QVariantMap>()), QVariant::fromValue(policyRules), token});
}

QVariantMap ruleArchive(const QString &path)
{
    auto rule = std::make_shared<PolicyRule>();
    rule->setPath(path);
    rule->setProcessName(QStringLiteral("any"));
    rule->operations = 1;
    return quiven::dbus::archivePolicyRules({rule}).constFirst();
}

QVariantMap holderOf(const QVariant &reference)
{
    return {{QStringLiteral("AuthorizationRefHolder"),
             QVariantMap{{QStringLiteral("AuthorizationRef"), reference}}}};
}

class DaemonHardening : public ::testing::Test
{
protected:
    void SetUp() override
    {
        quiven::dbus::registerTypes();
        daemons.writeSharedFile(QStringLiteral("local.quiven.rc"), kSavedRules);
        daemons.writeSharedFile(QStringLiteral("failsafe.rc"), kSavedRules);
        ASSERT_TRUE(daemons.start()) << daemons.failureText().toStdString();
        ASSERT_TRUE(daemons.bus().allowOtherUsers());
        connection = daemons.bus().connect(QStringLiteral("client"));
    }

    QByteArray token()
    {
        AuthorizationRef reference;
        EXPECT_EQ(NVCAuthorization(connection).create(&reference, QStringLiteral("Tests save rules")),
                  errAuthorizationSuccess);
        return reference ? reference->token() : QByteArray();
    }

    QString errorOf(const QDBusMessage &call)
    {
        const QDBusMessage reply = connection.call(call, QDBus::Block, 20000);
        return reply.type() == QDBusMessage::ErrorMessage ? reply.errorName() : QStringLiteral("ok");
    }

    // The probe's answer, run as the unprivileged user 65534.
    QString asStranger(const QStringList &arguments)
    {
        const QString probe =
            quiven::test::builtBinary(QStringLiteral("tests/services/quiven-daemon-call-probe"));
        return quiven::test::runProgram(daemons.bus(), probe, arguments, true).fields.join(u' ');
    }

    DaemonStack daemons;
    QDBusConnection connection{QString()};
};

TEST_F(DaemonHardening, UnauthorizedMalformedOrForgedCallsGetTypedErrorsAndChangeNothing)
{
    const QByteArray granted = token();
    const QString rootsToken = QString::fromLatin1(granted.toHex());
    // Another user's token is worthless, and outside the active session there is no reload, agent or
    // suggestion log.
    for (const QStringList &call :
         {QStringList{"save", rootsToken}, QStringList{"ruleset", "1", rootsToken}, QStringList{"reload"},
          QStringList{"register"}, QStringList{"delete-failsafe"}})
        EXPECT_EQ(asStranger(call), kNotAuthorized) << call.join(u' ').toStdString();

    NVCAuthorization authorization(connection);
    AuthorizationRef revoked;
    ASSERT_EQ(authorization.create(&revoked, QString()), errAuthorizationSuccess);
    const QByteArray revokedToken = revoked->token();
    authorization.destroy(&revoked);
    const auto learningMode = [](const QVariantMap &holder) {
        return methodCall(kSettings, "nrsettingsdAuthorizedProtocol",
                          "setQUIVENLearningModeWithAuthorization", {holder, true});
    };
    const QString injected = QStringLiteral("/a\"\nallow prefix \"/\" \"any\" rwcmx \"\" \"\" \"0");
    const std::tuple<const char *, QDBusMessage, QString> cases[] = {
        {"revoked", learningMode(holderOf(revokedToken)), kNotAuthorized},
        {"forged", learningMode(holderOf(QByteArray(32, 'x'))), kNotAuthorized},
        {"empty holder", learningMode(NVCAuthorizationHolder::withEmptyAuthorization()->archive()), kInvalid},
        {"mistyped holder", learningMode(holderOf(5)), kInvalid},
        {"wrong types",
         methodCall(kFilter, "NVCQUIVENDaemonRuleProtocol", "setUserWatchRules",
                    {QStringLiteral("x"), 7, granted}),
         QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod")},
        {"no authorization", saveCall({ruleArchive(QStringLiteral("/a"))}, QByteArray()), kNotAuthorized},
        {"too many records, unauthorized", saveCall(QList<QVariantMap>(100001), QByteArray()), kInvalid},
        {"a rule smuggled in through a path", saveCall({ruleArchive(injected)}, granted), kInvalid},
        {"negative ruleset",
         methodCall(kSettings, "nrsettingsdAuthorizedProtocol", "setQUIVENSystemRuleSetWithAuthorization",
                    {holderOf(granted), ~0ull}),
         kInvalid},
    };
    for (const auto &[what, call, error] : cases)
        EXPECT_EQ(errorOf(call), error) << what;

    EXPECT_TRUE(QFile::exists(daemons.sharedFolder() + "failsafe.rc"));
    daemons.writeSharedFile(QStringLiteral("failsafe.rc.strict"), kSavedRules);
    EXPECT_EQ(errorOf(methodCall(kFilter, "NVCQUIVENDaemonProtocol", "deleteFailsafeLog")),
              QStringLiteral("ok"));
    EXPECT_FALSE(QFile::exists(daemons.sharedFolder() + "failsafe.rc") ||
                 QFile::exists(daemons.sharedFolder() + "failsafe.rc.strict"));

    // Switching the filter needs the administrator: here the prompt refuses everyone.
    daemons.authority().terminate();
    ASSERT_TRUE(daemons.startAuthority(QStringLiteral("deny")));
    EXPECT_EQ(asStranger({QStringLiteral("enable"), QStringLiteral("false")}), kNotAuthorized);
    EXPECT_EQ(errorOf(methodCall(kFilter, "NVCQUIVENDaemonProtocol", "setQUIVENEnabled", {false, false})),
              kNotAuthorized);
    // Both daemons still serve, with nothing changed.
    EXPECT_EQ(
        connection.call(methodCall(kFilter, "NVCQUIVENDaemonProtocol", "getQUIVENFilterStatusWithCallback"))
            .arguments()
            .value(0),
        1);
    const auto settings = qdbus_cast<QVariantMap>(
        connection.call(methodCall(kSettings, "nrsettingsdProtocol", "getSystemSettingsWithReply"))
            .arguments()
            .value(0));
    EXPECT_EQ(settings.value(QStringLiteral("quiven-system-ruleset-in-use")).toInt(), 0);
    EXPECT_FALSE(settings.value(QStringLiteral("quiven-learning-mode")).toBool());
    EXPECT_EQ(daemons.userFile(), kSavedRules);
}

TEST_F(DaemonHardening, SymbolicLinksSubscriptionFloodsAndForgedLogLinesAreRefused)
{
    const QString victim = daemons.systemFolder() + "victim.rc";
    daemons.writeSystemFile(QStringLiteral("victim.rc"), "victim\n");
    const QString userFile = daemons.sharedFolder() + "local.quiven.rc";
    ASSERT_TRUE(QFile::remove(userFile) && QFile::link(victim, userFile));
    EXPECT_EQ(errorOf(saveCall({ruleArchive(QStringLiteral("/home/ann/new"))}, token())),
              QStringLiteral("com.norvalis.Error.Failed"));
    EXPECT_EQ(readFile(victim), "victim\n");
    EXPECT_TRUE(QFileInfo(userFile).isSymLink());

    const auto subscribe = [&](const char *protocol, int index) {
        const NVCListenerEndpoint endpoint{connection.baseService(),
                                           QDBusObjectPath(QStringLiteral("/s/%1").arg(index))};
        const QDBusMessage call =
            methodCall(kFilter, "NVCServiceClientSubscriptionProtocol", "subscribeToChangesWithProtocol",
                       {QString::fromLatin1(protocol), QVariant::fromValue(endpoint)});
        return connection.call(call).arguments().value(0).toBool();
    };
    for (int index = 0; index < 32; ++index)
        ASSERT_TRUE(subscribe("NVCQUIVENPolicyChangedProtocol", index)) << index;
    EXPECT_FALSE(subscribe("NVCQUIVENPolicyChangedProtocol", 32));
    EXPECT_TRUE(subscribe("NVCQUIVENPolicyChangedProtocol", 0)); // again: nothing new to hold
    EXPECT_TRUE(subscribe("NVCQUIVENClientTerminationProtocol", 0));

    NVCUserPolicyResponse response;
    response.path = QStringLiteral("/tmp/x\n00:00:00.000 info com.norvalis.FilterDaemon: filter disabled");
    EXPECT_EQ(errorOf(methodCall(kFilter, "NVCQUIVENDaemonRuleProtocol", "createOverrideRuleWith",
                                 {response.archive(), NVCPolicyQuery().archive(), QByteArray()})),
              QStringLiteral("ok"));
    ASSERT_TRUE(daemons.filterd().waitForOutput("override rules are not kept"));
    EXPECT_TRUE(daemons.filterd().output().contains("/tmp/x\\n00:00"));
    EXPECT_FALSE(daemons.filterd().output().contains("\n00:00:00.000 info"));
}

} // namespace
