#include "ProbeRunner.h"

#include "BuildPaths.h"

#include <QProcess>

namespace quiven::test {

ProbeOutput runProbe(const PrivateSystemBus &bus, const QStringList &arguments, bool unprivileged)
{
    return runProgram(bus, builtBinary(QStringLiteral("tests/authorization/quiven-auth-probe")), arguments,
                      unprivileged);
}

ProbeOutput runProgram(const PrivateSystemBus &bus, const QString &probe, const QStringList &arguments,
                       bool unprivileged)
{
    QProcess process;
    process.setProcessEnvironment(bus.environment());
    if (unprivileged)
        process.start(QStringLiteral("setpriv"),
                      QStringList{QStringLiteral("--reuid=65534"), QStringLiteral("--regid=65534"),
                                  QStringLiteral("--clear-groups"), probe} +
                          arguments);
    else
        process.start(probe, arguments);
    if (!process.waitForFinished(30000) || process.exitCode() != 0)
        return {};
    return {true,
            QString::fromLatin1(process.readAllStandardOutput()).trimmed().split(u' ', Qt::SkipEmptyParts)};
}

} // namespace quiven::test
