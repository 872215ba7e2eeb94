#include "ServiceRuntime.h"

#include "NVCNamespace.h"

#include <QDBusConnectionInterface>

namespace quiven::service {

bool claimName(const QDBusConnection &bus, const QString &serviceName, QString *error)
{
    if (!bus.isConnected()) {
        *error = QStringLiteral("cannot connect to the system bus: ") + bus.lastError().message();
        return false;
    }
    const QString name = NVCNamespace::namespacedWithId(serviceName);
    const auto reply = bus.interface()->registerService(name, QDBusConnectionInterface::DontQueueService,
                                                        QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid() || reply.value() != QDBusConnectionInterface::ServiceRegistered) {
        *error = QStringLiteral("cannot own %1: %2").arg(name, reply.error().message());
        return false;
    }
    return true;
}

} // namespace quiven::service
