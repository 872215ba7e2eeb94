#pragma once

#include <QObject>
#include <functional>

namespace quiven::service {

// Runs `onShutdown` on the event loop when SIGTERM or SIGINT arrives, then
// quits. The signal handler only writes a byte to a socket pair: nothing else
// is safe to do inside it.
void installShutdownHandler(QObject *context, std::function<void()> onShutdown);

} // namespace quiven::service
