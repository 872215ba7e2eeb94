#include "DaemonStack.h"
#include "QuivenctlRunner.h"

#include <QFile>
#include <gtest/gtest.h>

namespace {

// quivenctl's daemon and settings commands against the stand-in daemons.
class DaemonSettingsCommands : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(services->copyDemoRuleset());
        ASSERT_TRUE(services->start(QStringLiteral("grant"))) << services->failureText().toStdString();
    }

    QuivenctlRun run(const QStringList &arguments)
    {
        return runQuivenctl(arguments, {}, services->environment());
    }
    QJsonValue status() { return run({"daemon", "status"}).object()["status"]; }
    QJsonObject systemSettings() { return run({"settings", "get"}).object(); }

    std::unique_ptr<DaemonStack> services = std::make_unique<DaemonStack>();
};

TEST_F(DaemonSettingsCommands, CommandsDriveTheDaemonsAndFailWithoutThem)
{
    EXPECT_EQ(status(), 1);
    const QuivenctlRun disable = run({"daemon", "disable", "--cleanup"});
    EXPECT_EQ(disable.exitCode, 0) << disable.err.toStdString();
    EXPECT_EQ(status(), 0);
    EXPECT_EQ(run({"daemon", "enable"}).exitCode, 0);
    EXPECT_EQ(status(), 1);
    EXPECT_EQ(run({"daemon", "reload"}).object()["reloaded"], true);

    const QString failsafe = services->sharedFolder() + "failsafe.rc";
    ASSERT_TRUE(QFile::exists(failsafe));
    EXPECT_EQ(run({"daemon", "delete-failsafe"}).exitCode, 0);
    EXPECT_FALSE(QFile::exists(failsafe));
    EXPECT_TRUE(run({"daemon", "rules"}).out.contains("hosts file changes"));

    EXPECT_EQ(run({"settings", "set", "ruleset", "2", "--no-prompt"}).exitCode, 0);
    // Without a terminal the tool does not prompt even without --no-prompt.
    EXPECT_EQ(run({"settings", "set", "learning", "on"}).exitCode, 0);
    const QJsonObject settings = systemSettings();
    EXPECT_EQ(settings["quiven-system-ruleset-in-use"], 2);
    EXPECT_EQ(settings["quiven-learning-mode"], true);
    const QuivenctlRun usage = run({"settings", "set", "ruleset", "3"});
    EXPECT_EQ(usage.exitCode, 2);
    EXPECT_TRUE(usage.err.contains("usage:")) << usage.err.toStdString();
    EXPECT_EQ(systemSettings(), settings);

    services->filterd().terminate();
    ASSERT_TRUE(services->bus().waitForNameGone("com.norvalis.nrquivend"));
    const QuivenctlRun failed = run({"daemon", "status"});
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_TRUE(failed.err.contains("com.norvalis.nrquivend")) << failed.err.toStdString();
}

} // namespace
