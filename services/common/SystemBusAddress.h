#pragma once

#include <QString>

namespace quiven::service {

// True when a D-Bus address (DBUS_SYSTEM_BUS_ADDRESS) reaches the machine's own
// system bus, which is also where an empty address leads. Development shortcuts
// are refused there.
bool isMachineSystemBus(const QString &address);

} // namespace quiven::service
