#include "QuivenctlRunner.h"

#include <QProcess>
#include <gtest/gtest.h>

QuivenctlRun runQuivenctl(const QStringList &arguments, const QByteArray &input,
                          const QProcessEnvironment &environment)
{
    QProcessEnvironment quiet = environment;
    quiet.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("*.debug=false"));
    return runChild(QStringLiteral(QUIVEN_BINARY_DIR "/tools/quivenctl/quivenctl"), arguments, input, quiet);
}

QuivenctlRun runChild(const QString &program, const QStringList &arguments, const QByteArray &input,
                      const QProcessEnvironment &environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    QuivenctlRun run;
    if (!process.waitForStarted()) {
        ADD_FAILURE() << program.toStdString() << " did not start: " << process.errorString().toStdString();
        return run;
    }
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(120000)) {
        ADD_FAILURE() << program.toStdString() << " did not finish";
        process.kill();
        process.waitForFinished();
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}
