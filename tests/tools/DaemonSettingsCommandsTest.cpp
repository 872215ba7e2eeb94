#include "QuivenctlRunner.h"
#include "ServiceStack.h"

#include <QFile>
#include <gtest/gtest.h>

namespace {

// quivenctl's daemon and settings commands against the stand-in daemons.
class DaemonSettingsCommands : public ::testing::Test
{
protected:
    void startServices(const QString &authorityAnswer)
    {
        services = std::make_unique<ServiceStack>(authorityAnswer);
        ASSERT_TRUE(services->startError().isEmpty()) << services->startError().toStdString();
    }

    QuivenctlRun run(const QStringList &arguments)
    {
        return runQuivenctl(arguments, {}, services->environment());
    }

    QJsonObject systemSettings()
    {
        const QuivenctlRun get = run({QStringLiteral("settings"), QStringLiteral("get")});
        EXPECT_EQ(get.exitCode, 0) << get.err.toStdString();
        return get.object();
    }

    std::unique_ptr<ServiceStack> services;
};

TEST_F(DaemonSettingsCommands, DaemonCommandsDriveTheFilterDaemon)
{
    startServices(QStringLiteral("grant"));
    const QStringList daemon{QStringLiteral("daemon")};

    EXPECT_EQ(run(daemon + QStringList{QStringLiteral("status")}).object()[QStringLiteral("status")], 1);
    const QuivenctlRun disable =
        run(daemon + QStringList{QStringLiteral("disable"), QStringLiteral("--cleanup")});
    EXPECT_EQ(disable.exitCode, 0) << disable.err.toStdString();
    EXPECT_EQ(disable.object()[QStringLiteral("enabled")], false);
    EXPECT_EQ(run(daemon + QStringList{QStringLiteral("status")}).object()[QStringLiteral("status")], 0);
    EXPECT_EQ(run(daemon + QStringList{QStringLiteral("enable")}).exitCode, 0);
    EXPECT_EQ(run(daemon + QStringList{QStringLiteral("status")}).object()[QStringLiteral("status")], 1);

    const QuivenctlRun reload = run(daemon + QStringList{QStringLiteral("reload")});
    EXPECT_EQ(reload.exitCode, 0) << reload.err.toStdString();
    EXPECT_EQ(reload.object()[QStringLiteral("reloaded")], true);

    const QString failsafe = services->sharedFolder() + QStringLiteral("failsafe.rc");
    ASSERT_TRUE(QFile::exists(failsafe));
    EXPECT_EQ(run(daemon + QStringList{QStringLiteral("delete-failsafe")}).exitCode, 0);
    EXPECT_FALSE(QFile::exists(failsafe));
    EXPECT_FALSE(QFile::exists(failsafe + QStringLiteral(".strict")));
}

TEST_F(DaemonSettingsCommands, DaemonRulesAreTheUserFileTheDaemonRead)
{
    startServices(QStringLiteral("grant"));
    QFile userFile(services->sharedFolder() + QStringLiteral("local.quiven.rc"));
    ASSERT_TRUE(userFile.open(QIODevice::ReadOnly));
    int watchLines = 0;
    int policyLines = 0;
    while (!userFile.atEnd()) {
        const QByteArray line = userFile.readLine();
        watchLines += line.startsWith("watch ");
        policyLines += line.startsWith("allow ") || line.startsWith("deny ");
    }

    const QuivenctlRun rules = run({QStringLiteral("daemon"), QStringLiteral("rules")});
    ASSERT_EQ(rules.exitCode, 0) << rules.err.toStdString();
    const QJsonArray watch = rules.object()[QStringLiteral("watchRules")].toArray();
    const QJsonArray policy = rules.object()[QStringLiteral("policyRules")].toArray();
    EXPECT_EQ(watch.size(), watchLines);
    EXPECT_EQ(policy.size(), policyLines);
    EXPECT_TRUE(ruleTexts(watch).contains(
        QStringLiteral("watch path \"/etc/hosts\" \"any\" wcm \"hosts file changes\"")))
        << ruleTexts(watch).join(u'\n').toStdString();
}

TEST_F(DaemonSettingsCommands, GrantedChangesAreMadeAndReported)
{
    startServices(QStringLiteral("grant"));
    const QuivenctlRun ruleset =
        run({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("ruleset"),
             QStringLiteral("2"), QStringLiteral("--no-prompt")});
    ASSERT_EQ(ruleset.exitCode, 0) << ruleset.err.toStdString();
    EXPECT_EQ(ruleset.object()[QStringLiteral("quiven-system-ruleset-in-use")], 2);

    // Without a terminal the tool does not prompt even without --no-prompt.
    const QuivenctlRun learning = run({QStringLiteral("settings"), QStringLiteral("set"),
                                       QStringLiteral("learning"), QStringLiteral("on")});
    ASSERT_EQ(learning.exitCode, 0) << learning.err.toStdString();

    const QJsonObject settings = systemSettings();
    EXPECT_EQ(settings[QStringLiteral("quiven-system-ruleset-in-use")], 2);
    EXPECT_EQ(settings[QStringLiteral("quiven-learning-mode")], true);
}

TEST_F(DaemonSettingsCommands, RefusedAuthorizationChangesNothing)
{
    const std::pair<const char *, const char *> refusals[] = {{"deny", "denied"}, {"cancel", "cancelled"}};
    for (const auto &[answer, message] : refusals) {
        SCOPED_TRACE(answer);
        startServices(QString::fromLatin1(answer));
        const QJsonObject before = systemSettings();
        const QuivenctlRun learning =
            run({QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("learning"),
                 QStringLiteral("on"), QStringLiteral("--no-prompt")});
        EXPECT_EQ(learning.exitCode, 1);
        EXPECT_TRUE(learning.out.isEmpty());
        EXPECT_TRUE(learning.err.contains(message)) << learning.err.toStdString();
        EXPECT_EQ(systemSettings(), before);
    }
}

TEST_F(DaemonSettingsCommands, UsageErrorsExitTwoAndChangeNothing)
{
    startServices(QStringLiteral("grant"));
    const QJsonObject before = systemSettings();
    const QStringList cases[] = {
        {QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("ruleset"), QStringLiteral("3")},
        {QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("ruleset"), QStringLiteral("-1")},
        {QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("learning"),
         QStringLiteral("yes")},
        {QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("learning")},
        {QStringLiteral("settings"), QStringLiteral("set"), QStringLiteral("advanced"), QStringLiteral("on")},
        {QStringLiteral("settings"), QStringLiteral("get"), QStringLiteral("--no-prompt")},
        {QStringLiteral("settings")},
        {QStringLiteral("daemon"), QStringLiteral("explode")},
        {QStringLiteral("daemon"), QStringLiteral("status"), QStringLiteral("--cleanup")},
        {QStringLiteral("daemon"), QStringLiteral("disable"), QStringLiteral("--force")},
        {QStringLiteral("daemon")},
    };
    for (const QStringList &arguments : cases) {
        const QuivenctlRun usage = run(arguments);
        EXPECT_EQ(usage.exitCode, 2) << arguments.join(u' ').toStdString();
        EXPECT_TRUE(usage.err.contains("usage:")) << usage.err.toStdString();
    }
    EXPECT_EQ(systemSettings(), before);
    EXPECT_EQ(run({QStringLiteral("daemon"), QStringLiteral("status")}).object()[QStringLiteral("status")],
              1);
}

TEST_F(DaemonSettingsCommands, AMissingDaemonIsAFailureWithItsErrorText)
{
    startServices(QStringLiteral("grant"));
    services->filterDaemon().terminate();
    ASSERT_TRUE(services->bus().waitForNameGone(QStringLiteral("com.norvalis.nrquivend")));
    for (const char *action : {"status", "reload", "rules"}) {
        const QuivenctlRun failed = run({QStringLiteral("daemon"), QString::fromLatin1(action)});
        EXPECT_EQ(failed.exitCode, 1) << action;
        EXPECT_TRUE(failed.out.isEmpty()) << action;
        EXPECT_TRUE(failed.err.contains("com.norvalis.nrquivend")) << failed.err.toStdString();
    }
}

} // namespace
