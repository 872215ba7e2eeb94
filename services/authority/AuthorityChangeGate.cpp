#include "AuthorityChangeGate.h"

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcAuthorityChangeGate, "com.norvalis.AuthorityChangeGate")

AuthorityChangeGate::AuthorityChangeGate(const QDBusConnection &connection)
    : m_verifier(connection)
{}

bool AuthorityChangeGate::allow(const QByteArray &externalForm, uint callerUid, QString *error)
{
    const NVCAuthorityVerifier::Result result = m_verifier.verify(externalForm);
    QString refusal;
    if (!result.granted())
        refusal = QStringLiteral("The authorization is not valid (status %1)").arg(result.status);
    // Root may act with any user's authorization; everyone else only with their own.
    else if (callerUid != 0 && result.uid != callerUid)
        refusal = QStringLiteral("The authorization belongs to another user");
    if (refusal.isEmpty()) {
        qCInfo(lcAuthorityChangeGate, "Privileged change allowed for uid %u", callerUid);
        return true;
    }
    qCWarning(lcAuthorityChangeGate, "Privileged change refused for uid %u: %s", callerUid,
              qUtf8Printable(refusal));
    if (error)
        *error = refusal;
    return false;
}

std::unique_ptr<PrivilegedChangeGate> makeDaemonChangeGate(bool insecureDev,
                                                           const QDBusConnection &connection, QString *error)
{
    if (insecureDev)
        return makeInsecureDevChangeGate(error);
    return std::make_unique<AuthorityChangeGate>(connection);
}
