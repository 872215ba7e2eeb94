#include "AuthorityProcess.h"

#include "BuildPaths.h"

#include <QFileInfo>
#include <QProcess>
#include <sys/stat.h>

namespace quiven::test {

std::unique_ptr<StandInProcess> startDevAuthority(const PrivateSystemBus &bus, const QString &answer,
                                                  const QStringList &extraArguments)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QUIVEN_DEV_AUTH"), answer);
    auto authority = std::make_unique<StandInProcess>(
        builtBinary(QStringLiteral("services/authority/quiven-authd")),
        QStringList{QStringLiteral("--dev-backend")} + extraArguments, environment);
    if (!authority->start(bus, QStringLiteral("com.norvalis.nrauthd")))
        return nullptr;
    return authority;
}

bool openBusToEveryone(const PrivateSystemBus &bus)
{
    const QString address = bus.address();
    const qsizetype start = address.indexOf(QLatin1String("path="));
    if (start < 0)
        return false;
    const QString socket = address.mid(start + 5).section(u',', 0, 0);
    return ::chmod(QFileInfo(socket).absolutePath().toLocal8Bit().constData(), 0711) == 0;
}

ProbeOutput runProbe(const PrivateSystemBus &bus, const QStringList &arguments, bool unprivileged)
{
    const QString probe = builtBinary(QStringLiteral("tests/authorization/quiven-auth-probe"));
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
