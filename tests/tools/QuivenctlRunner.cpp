#include "QuivenctlRunner.h"

#include "TestFiles.h"

#include <QProcess>
#include <gtest/gtest.h>

QuivenctlRun runQuivenctl(const QStringList &arguments, const QByteArray &input,
                          const QProcessEnvironment &environment)
{
    QProcess process;
    QProcessEnvironment quiet = environment;
    quiet.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("*.debug=false"));
    process.setProcessEnvironment(quiet);
    process.start(QStringLiteral(QUIVEN_BINARY_DIR "/tools/quivenctl/quivenctl"), arguments);
    QuivenctlRun run;
    if (!process.waitForStarted()) {
        ADD_FAILURE() << "quivenctl did not start: " << process.errorString().toStdString();
        return run;
    }
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(120000)) {
        ADD_FAILURE() << "quivenctl did not finish";
        process.kill();
        process.waitForFinished();
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}

RuleFolder::RuleFolder()
{
    EXPECT_TRUE(m_dir.isValid());
}

QString RuleFolder::write(const QString &relativePath, const QByteArray &content) const
{
    const QString full = path(relativePath);
    EXPECT_TRUE(writeFile(full, content));
    return full;
}

QString RuleFolder::path(const QString &relativePath) const
{
    return relativePath.isEmpty() ? m_dir.path() + QLatin1Char('/') : m_dir.filePath(relativePath);
}
