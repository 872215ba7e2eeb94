#pragma once

#include "PrivateSystemBus.h"
#include "StandInProcess.h"

#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <memory>

// The stand-in daemons and the authority's development backend on a private
// bus, over a copy of the demo ruleset in a temporary root.
class ServiceStack
{
public:
    // `authorityAnswer` is grant, deny or cancel.
    explicit ServiceStack(const QString &authorityAnswer);

    // Empty when every process owns its name, else what went wrong.
    QString startError() const { return m_startError; }

    PrivateSystemBus &bus() { return m_bus; }
    StandInProcess &filterDaemon() { return *m_filterd; }
    // What quivenctl needs to find the bus and the folders.
    QProcessEnvironment environment() const;
    QString sharedFolder() const;

private:
    PrivateSystemBus m_bus;
    QTemporaryDir m_root;
    std::unique_ptr<StandInProcess> m_authority;
    std::unique_ptr<StandInProcess> m_settingsd;
    std::unique_ptr<StandInProcess> m_filterd;
    QString m_startError;
};
