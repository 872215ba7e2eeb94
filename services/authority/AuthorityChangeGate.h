#pragma once

#include "NVCAuthorityVerifier.h"
#include "PrivilegedChangeGate.h"

#include <QDBusConnection>
#include <memory>

// Lets a daemon make a privileged change only when the authority confirms
// that the form grants the administrator right to the caller's user.
class AuthorityChangeGate : public PrivilegedChangeGate
{
public:
    explicit AuthorityChangeGate(const QDBusConnection &connection);
    bool allow(const QByteArray &externalForm, uint callerUid, QString *error) override;

private:
    NVCAuthorityVerifier m_verifier;
};

std::unique_ptr<PrivilegedChangeGate> makeAuthorityChangeGate(const QDBusConnection &connection);
