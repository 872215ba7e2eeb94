#pragma once

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

// A subscriber's call-back address: its unique bus name and the object path it
// exported for one protocol. Crosses the bus as (so).
struct NVCListenerEndpoint
{
    QString service;
    QDBusObjectPath path;

    bool operator==(const NVCListenerEndpoint &other) const = default;
};
Q_DECLARE_METATYPE(NVCListenerEndpoint)

QDBusArgument &operator<<(QDBusArgument &argument, const NVCListenerEndpoint &endpoint);
const QDBusArgument &operator>>(const QDBusArgument &argument, NVCListenerEndpoint &endpoint);

namespace quiven::dbus {

// Error names the daemons answer with; clients show the message text.
inline constexpr auto kInvalidArgumentError = "com.norvalis.Error.InvalidArgument";
inline constexpr auto kNotAuthorizedError = "com.norvalis.Error.NotAuthorized";
inline constexpr auto kFailedError = "com.norvalis.Error.Failed";

inline constexpr auto kFilterServiceName = "com.norvalis.nrquivend";
inline constexpr auto kSettingsServiceName = "com.norvalis.nrsettingsd";

// "/com/norvalis/<daemon>" for a (possibly namespaced) service name.
QString objectPathForService(const QString &serviceName);
QString interfaceForProtocol(const QString &protocolName);

// Registers the custom types with QtDBus; safe to call repeatedly.
void registerTypes();

} // namespace quiven::dbus
