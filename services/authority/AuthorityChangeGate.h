#pragma once

#include "NVCAuthorityVerifier.h"
#include "PrivilegedChangeGate.h"

#include <QDBusConnection>
#include <memory>

// Lets a daemon make a privileged change only when the authority confirms
// that the form grants the administrator right to the caller's user, or, for
// calls without a form, that polkit grants the caller the action.
class AuthorityChangeGate : public PrivilegedChangeGate
{
public:
    explicit AuthorityChangeGate(const QDBusConnection &connection);
    bool allow(const QByteArray &externalForm, uint callerUid, QString *error) override;
    void authorizeCaller(const QString &uniqueName, CallerRight right, bool allowInteraction,
                         const CallerDecision &done) override;

private:
    QDBusConnection m_connection;
    NVCAuthorityVerifier m_verifier;
};

// The gate a daemon runs with: the authority's check, unless --insecure-dev was
// given on a private bus. Null with *error set when that opt-out is refused.
std::unique_ptr<PrivilegedChangeGate> makeDaemonChangeGate(bool insecureDev,
                                                           const QDBusConnection &connection, QString *error);
