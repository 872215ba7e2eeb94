#include "DevAuthorizationBackend.h"

#include <QStringList>

std::optional<OSStatus> DevAuthorizationBackend::answerFor(const QString &setting)
{
    if (setting.isEmpty() || setting == QLatin1String("grant"))
        return errAuthorizationSuccess;
    if (setting == QLatin1String("deny"))
        return errAuthorizationDenied;
    if (setting == QLatin1String("cancel"))
        return errAuthorizationCanceled;
    return std::nullopt;
}

bool DevAuthorizationBackend::isRealSystemBus(const QString &systemBusAddress)
{
    if (systemBusAddress.trimmed().isEmpty())
        return true;
    const QStringList realSockets{QStringLiteral("/run/dbus/system_bus_socket"),
                                  QStringLiteral("/var/run/dbus/system_bus_socket")};
    // An address is a ';'-separated list of "transport:key=value,..." entries.
    for (const QString &entry : systemBusAddress.split(u';', Qt::SkipEmptyParts)) {
        const QString parameters = entry.section(u':', 1);
        for (const QString &parameter : parameters.split(u',', Qt::SkipEmptyParts)) {
            if (parameter.startsWith(QLatin1String("path=")) && realSockets.contains(parameter.mid(5)))
                return true;
        }
    }
    return false;
}
