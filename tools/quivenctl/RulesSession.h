#pragma once

#include "NVCRuleManager.h"

#include <QDBusConnection>
#include <QString>
#include <memory>

// The daemon-backed ruleset for one command: loaded through the settings and
// filter daemons on the system bus, saved back through the filter daemon.
// Waits on the event loop for every answer, each with a time limit.
namespace quivenctl {

class RulesSession
{
public:
    RulesSession();

    // False with a message when a daemon is missing or does not answer.
    bool load(QString *error);
    NVCRuleManager &manager() { return *m_manager; }

    // Authorizes (asking the user only when `interactive`) and sends the
    // model's user rules to the filter daemon; false with the reason when
    // the authorization fails (nothing is sent then) or the daemon refuses.
    bool save(bool interactive, QString *error);

private:
    QDBusConnection m_bus;
    std::unique_ptr<NVCRuleManager> m_manager;
};

} // namespace quivenctl
