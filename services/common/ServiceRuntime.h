#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <functional>

// The start-up every stand-in daemon shares: the system bus, its namespaced
// well-known name, and SIGTERM/SIGINT turned into an orderly shutdown.
namespace quiven::service {

// Connects to the system bus and owns the namespaced name; false with *error set otherwise.
bool claimName(const QDBusConnection &bus, const QString &serviceName, QString *error);

// Runs `onShutdown` on the event loop when SIGTERM or SIGINT arrives, then quits.
void installShutdownHandler(QObject *context, std::function<void()> onShutdown);

} // namespace quiven::service
