#pragma once

#include "PrivateSystemBus.h"
#include "StandInProcess.h"

#include <QStringList>
#include <memory>

namespace quiven::test {

// The authority on a private bus with the development backend.
std::unique_ptr<StandInProcess> startDevAuthority(const PrivateSystemBus &bus, const QString &answer,
                                                  const QStringList &extraArguments = {});

// Lets other users reach the bus's socket (the folder is private by default).
bool openBusToEveryone(const PrivateSystemBus &bus);

struct ProbeOutput
{
    bool ran = false;
    QStringList fields;
};

// Runs the probe client on the bus, as the unprivileged user 65534 when asked.
ProbeOutput runProbe(const PrivateSystemBus &bus, const QStringList &arguments, bool unprivileged);

} // namespace quiven::test
