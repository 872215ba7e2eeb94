#pragma once

#include "PrivateSystemBus.h"

#include <QStringList>

namespace quiven::test {

struct ProbeOutput
{
    bool ran = false;
    QStringList fields;
};

// Runs the probe client on the bus, as the unprivileged user 65534 when asked.
ProbeOutput runProbe(const PrivateSystemBus &bus, const QStringList &arguments, bool unprivileged);
// The same for any program that prints its answer as one line.
ProbeOutput runProgram(const PrivateSystemBus &bus, const QString &program, const QStringList &arguments,
                       bool unprivileged);

} // namespace quiven::test
