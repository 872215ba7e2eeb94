#pragma once

#include <QDBusConnection>
#include <QString>

// The start-up every stand-in daemon shares: the system bus and its namespaced
// well-known name.
namespace quiven::service {

// Connects to the system bus and owns the namespaced name; false with *error set otherwise.
bool claimName(const QDBusConnection &bus, const QString &serviceName, QString *error);

} // namespace quiven::service
