#include "BuildPaths.h"
#include "QuivenctlRunner.h"
#include "TestFiles.h"
#include "WaitUntil.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <csignal>
#include <gtest/gtest.h>

using quiven::test::sourceFile;

namespace {

using ScriptRun = QuivenctlRun;

// A process counts as gone once it has exited, even while nobody reaps it.
bool running(qint64 pid)
{
    const QByteArray line = readFile(QStringLiteral("/proc/%1/stat").arg(pid));
    return !line.isEmpty() && line.mid(line.lastIndexOf(')') + 2, 1) != "Z";
}

// scripts/services.sh with its state file and temporary roots in a folder of its own.
class ServicesScript : public ::testing::Test
{
protected:
    void TearDown() override
    {
        if (QFile::exists(stateFile()))
            script({QStringLiteral("stop")});
    }

    ScriptRun script(const QStringList &arguments, const QString &authorityAnswer = QStringLiteral("grant"))
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"));
        environment.insert(QStringLiteral("QUIVEN_SERVICES_STATE"), stateFile());
        environment.insert(QStringLiteral("TMPDIR"), roots());
        environment.insert(QStringLiteral("QUIVEN_DEV_AUTH"), authorityAnswer);
        return runChild(QStringLiteral("bash"),
                        QStringList{sourceFile(QStringLiteral("scripts/services.sh"))} + arguments, {},
                        environment);
    }

    ScriptRun start(const QString &authorityAnswer = QStringLiteral("grant"))
    {
        return script({QStringLiteral("start"), QStringLiteral(QUIVEN_BINARY_DIR)}, authorityAnswer);
    }

    QString stateFile() const { return m_folder.filePath(QStringLiteral("services.state")); }
    QString roots() const
    {
        QDir().mkpath(m_folder.filePath(QStringLiteral("roots")));
        return m_folder.filePath(QStringLiteral("roots"));
    }
    QStringList rootsLeft() const { return QDir(roots()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot); }

    // The pids the state file lists, in start order.
    QList<qint64> recordedPids() const
    {
        QList<qint64> pids;
        for (const QByteArray &line : readFile(stateFile()).split('\n'))
            if (line.startsWith("pid "))
                pids << line.split(' ').value(1).toLongLong();
        return pids;
    }

    QTemporaryDir m_folder;
};

QMap<QString, QString> exportsOf(const QByteArray &output)
{
    static const QRegularExpression exportLine(QStringLiteral("^export ([A-Z_]+)=(\\S+)$"),
                                               QRegularExpression::MultilineOption);
    QMap<QString, QString> exports;
    for (const auto &match : exportLine.globalMatch(QString::fromUtf8(output)))
        exports.insert(match.captured(1), match.captured(2));
    return exports;
}

TEST_F(ServicesScript, StartRunsTheDaemonsTheCommandsDriveAndStopOrAFailedStartLeavesNothingBehind)
{
    // The authority refuses to run with an answer it does not know, after the bus is up.
    const ScriptRun failed = start(QStringLiteral("sometimes"));
    EXPECT_NE(failed.exitCode, 0);
    EXPECT_TRUE(failed.err.contains("nrauthd")) << failed.err.toStdString();
    EXPECT_TRUE(rootsLeft().isEmpty()) << rootsLeft().join(u' ').toStdString();

    // A dead run's state must not block the start; pid 1 runs something else and is left alone.
    ASSERT_TRUE(writeFile(stateFile(), "pid 1 dbus-daemon\n"));
    const ScriptRun started = start();
    ASSERT_EQ(started.exitCode, 0) << started.err.toStdString();
    EXPECT_TRUE(running(1));
    const QList<qint64> pids = recordedPids();
    ASSERT_EQ(pids.size(), 4);
    for (const qint64 pid : pids)
        EXPECT_TRUE(running(pid)) << pid;

    // The exported environment is all quivenctl's daemon and settings commands need.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QMap<QString, QString> exports = exportsOf(started.out);
    for (auto it = exports.begin(); it != exports.end(); ++it)
        environment.insert(it.key(), it.value());
    const auto run = [&](const QStringList &arguments) { return runQuivenctl(arguments, {}, environment); };
    const auto status = [&]() -> QJsonValue { return run({"daemon", "status"}).object()["status"]; };
    EXPECT_EQ(status(), 1);
    const QuivenctlRun disable = run({"daemon", "disable", "--cleanup"});
    EXPECT_EQ(disable.exitCode, 0) << disable.err.toStdString();
    EXPECT_EQ(status(), 0);
    EXPECT_EQ(run({"daemon", "enable"}).exitCode, 0);
    EXPECT_EQ(status(), 1);
    EXPECT_EQ(run({"daemon", "reload"}).object()["reloaded"], true);
    const QString failsafe = exports.value(QStringLiteral("QUIVEN_SHARED_DIR")) + "failsafe.rc";
    ASSERT_TRUE(QFile::exists(failsafe));
    EXPECT_EQ(run({"daemon", "delete-failsafe"}).exitCode, 0);
    EXPECT_FALSE(QFile::exists(failsafe));
    EXPECT_TRUE(run({"daemon", "rules"}).out.contains("hosts file changes"));

    EXPECT_EQ(run({"settings", "set", "ruleset", "2", "--no-prompt"}).exitCode, 0);
    // Without a terminal the tool does not prompt even without --no-prompt.
    EXPECT_EQ(run({"settings", "set", "learning", "on"}).exitCode, 0);
    const QJsonObject settings = run({"settings", "get"}).object();
    EXPECT_EQ(settings["quiven-system-ruleset-in-use"], 2);
    EXPECT_EQ(settings["quiven-learning-mode"], true);
    const QuivenctlRun usage = run({"settings", "set", "ruleset", "3"});
    EXPECT_EQ(usage.exitCode, 2);
    EXPECT_TRUE(usage.err.contains("usage:")) << usage.err.toStdString();
    EXPECT_EQ(run({"settings", "get"}).object(), settings);

    // A second start must not take over, nor disturb, the running set.
    EXPECT_EQ(start().exitCode, 1);
    EXPECT_EQ(recordedPids(), pids);
    const qint64 filterd = exports.value(QStringLiteral("QUIVEN_FILTERD_PID")).toLongLong();
    ::kill(pid_t(filterd), SIGTERM);
    ASSERT_TRUE(waitUntil([&] { return !running(filterd); }));
    const QuivenctlRun failedStatus = run({"daemon", "status"});
    EXPECT_EQ(failedStatus.exitCode, 1);
    EXPECT_TRUE(failedStatus.err.contains("com.norvalis.nrquivend")) << failedStatus.err.toStdString();

    EXPECT_EQ(script({QStringLiteral("stop")}).exitCode, 0);
    for (const qint64 pid : pids)
        EXPECT_FALSE(running(pid)) << pid;
    EXPECT_TRUE(rootsLeft().isEmpty()) << rootsLeft().join(u' ').toStdString();
    EXPECT_FALSE(QFile::exists(stateFile()));
    EXPECT_EQ(script({QStringLiteral("stop")}).exitCode, 0);
}

} // namespace
