#include "CallerIdentity.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcCallerIdentity, "com.norvalis.CallerIdentity")

namespace quiven::service {

std::optional<uint> callerUid(const QDBusConnection &bus, const QString &uniqueName)
{
    const QDBusConnectionInterface *interface = bus.interface();
    if (!interface)
        return std::nullopt;
    const QDBusReply<uint> uid = interface->serviceUid(uniqueName);
    if (!uid.isValid()) {
        qCWarning(lcCallerIdentity, "cannot tell the user of %s: %s", qUtf8Printable(uniqueName),
                  qUtf8Printable(uid.error().message()));
        return std::nullopt;
    }
    return uid.value();
}

} // namespace quiven::service
