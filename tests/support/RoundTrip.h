#pragma once

#include "WaitUntil.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

// One call that the filter daemon answers from its main loop, made on `bus`:
// once its answer has been delivered here, so has everything the daemon sent
// this connection before it (replies, call-backs), and nothing of an earlier
// request is still on its way.
inline bool filterRoundTrip(const QDBusConnection &bus)
{
    QDBusPendingCallWatcher watcher(bus.asyncCall(QDBusMessage::createMethodCall(
        QStringLiteral("com.norvalis.nrquivend"), QStringLiteral("/com/norvalis/nrquivend"),
        QStringLiteral("com.norvalis.NVCQUIVENDaemonProtocol"),
        QStringLiteral("getQUIVENFilterStatusWithCallback"))));
    bool answered = false;
    QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, [&] { answered = true; });
    return waitUntil([&] { return answered; });
}
