#include "AuthorityChangeGate.h"

#include "AuthorizationBackend.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcAuthorityChangeGate, "com.norvalis.AuthorityChangeGate")

AuthorityChangeGate::AuthorityChangeGate(const QDBusConnection &connection)
    : m_connection(connection)
    , m_verifier(connection)
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

void AuthorityChangeGate::authorizeCaller(const QString &uniqueName, CallerRight right, bool allowInteraction,
                                          const CallerDecision &done)
{
    // An interactive check lasts as long as the user takes to answer the prompt.
    constexpr int kInteractiveTimeoutMs = 10 * 60 * 1000;
    constexpr int kQuietTimeoutMs = 25 * 1000;
    const QString action =
        QString::fromLatin1(right == CallerRight::Administrator ? kAdministratorAction : kLocalSessionAction);
    QDBusMessage call = QDBusMessage::createMethodCall(
        QString::fromLatin1(kNVCAuthorityService), QString::fromLatin1(kNVCAuthorityPath),
        QStringLiteral("com.norvalis.NVCAuthorityProtocol"), QStringLiteral("CheckCaller"));
    call << uniqueName << action << allowInteraction;
    auto *watcher = new QDBusPendingCallWatcher(
        m_connection.asyncCall(call, allowInteraction ? kInteractiveTimeoutMs : kQuietTimeoutMs));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [=](QDBusPendingCallWatcher *finished) {
        finished->deleteLater();
        const QDBusPendingReply<int> reply = *finished;
        QString refusal;
        if (reply.isError())
            refusal = QStringLiteral("The authority cannot be asked: %1").arg(reply.error().message());
        else if (reply.value() != errAuthorizationSuccess)
            refusal = QStringLiteral("Not authorized for %1 (status %2)").arg(action).arg(reply.value());
        if (refusal.isEmpty())
            qCInfo(lcAuthorityChangeGate, "%s allowed for %s", qUtf8Printable(action),
                   qUtf8Printable(uniqueName));
        else
            qCWarning(lcAuthorityChangeGate, "%s refused for %s: %s", qUtf8Printable(action),
                      qUtf8Printable(uniqueName), qUtf8Printable(refusal));
        done(refusal.isEmpty(), refusal);
    });
}

std::unique_ptr<PrivilegedChangeGate> makeDaemonChangeGate(bool insecureDev,
                                                           const QDBusConnection &connection, QString *error)
{
    if (insecureDev)
        return makeInsecureDevChangeGate(error);
    return std::make_unique<AuthorityChangeGate>(connection);
}
