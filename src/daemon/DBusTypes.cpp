#include "DBusTypes.h"

#include <QDBusMetaType>

QDBusArgument &operator<<(QDBusArgument &argument, const NVCListenerEndpoint &endpoint)
{
    argument.beginStructure();
    argument << endpoint.service << endpoint.path;
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, NVCListenerEndpoint &endpoint)
{
    argument.beginStructure();
    argument >> endpoint.service >> endpoint.path;
    argument.endStructure();
    return argument;
}

namespace quiven::dbus {

QString objectPathForService(const QString &serviceName)
{
    return QStringLiteral("/com/norvalis/") + serviceName.section(QLatin1Char('.'), -1);
}

QString interfaceForProtocol(const QString &protocolName)
{
    return QStringLiteral("com.norvalis.") + protocolName;
}

void registerTypes()
{
    static const bool registered = [] {
        qDBusRegisterMetaType<NVCListenerEndpoint>();
        qDBusRegisterMetaType<QList<QVariantMap>>();
        return true;
    }();
    Q_UNUSED(registered);
}

} // namespace quiven::dbus
