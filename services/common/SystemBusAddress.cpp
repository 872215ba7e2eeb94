#include "SystemBusAddress.h"

#include <QFileInfo>
#include <QStringList>

namespace quiven::service {
namespace {

bool isMachineSystemBusSocket(const QString &path)
{
    const QString canonical = QFileInfo(path).canonicalFilePath();
    for (const char *socket : {"/run/dbus/system_bus_socket", "/var/run/dbus/system_bus_socket"}) {
        const QString known = QString::fromLatin1(socket);
        // Compared as written too: the socket need not exist where the check runs.
        if (path == known || (!canonical.isEmpty() && canonical == QFileInfo(known).canonicalFilePath()))
            return true;
    }
    return false;
}

} // namespace

bool isMachineSystemBus(const QString &address)
{
    if (address.trimmed().isEmpty())
        return true;
    // An address is a ';'-separated list of "transport:key=value,..." entries.
    for (const QString &entry : address.split(u';', Qt::SkipEmptyParts)) {
        for (const QString &parameter : entry.section(u':', 1).split(u',', Qt::SkipEmptyParts)) {
            if (parameter.startsWith(QLatin1String("path=")) && isMachineSystemBusSocket(parameter.mid(5)))
                return true;
        }
    }
    return false;
}

} // namespace quiven::service
