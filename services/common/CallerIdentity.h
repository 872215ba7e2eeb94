#pragma once

#include <QDBusConnection>
#include <QString>
#include <optional>

namespace quiven::service {

// The uid behind a caller's unique bus name; none when the bus cannot say
// (the caller left, or the bus refused). Callers refuse the request then:
// assuming any uid, let alone root's, would open the door.
std::optional<uint> callerUid(const QDBusConnection &bus, const QString &uniqueName);

} // namespace quiven::service
