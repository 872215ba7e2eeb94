#include "AuthorityService.h"

#include "CallerIdentity.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QLoggingCategory>
#include <unistd.h>

Q_LOGGING_CATEGORY(lcAuthorityService, "com.norvalis.AuthorityService")

AuthorityService::AuthorityService(std::unique_ptr<AuthorizationBackend> backend,
                                   std::unique_ptr<TokenStore> tokens, QObject *parent)
    : QObject(parent)
    , m_backend(std::move(backend))
    , m_tokens(std::move(tokens))
{}

AuthorityService::~AuthorityService() = default;

OSStatus AuthorityService::checkRequest(const QString &right, uint flags)
{
    if (flags & ~kAuthorizationFlagsKnown)
        return errAuthorizationInvalidFlags;
    if (right != QLatin1String(kNVCAdminRight))
        return errAuthorizationInvalidSet;
    return errAuthorizationSuccess;
}

std::optional<uint> AuthorityService::callerUid() const
{
    return quiven::service::callerUid(connection(), message().service());
}

bool AuthorityService::callerIsDaemon() const
{
    const std::optional<uint> caller = callerUid();
    return caller && (*caller == 0 || *caller == ::getuid());
}

OSStatus AuthorityService::lookupForCaller(const QByteArray &token, uint caller) const
{
    uint owner = 0;
    const OSStatus status = m_tokens->lookup(token, &owner);
    if (status != errAuthorizationSuccess)
        return status;
    // Another user's token is treated as unknown, so it reveals nothing.
    return (caller == owner || caller == 0) ? errAuthorizationSuccess : errAuthorizationInvalidRef;
}

int AuthorityService::Create(const QString &right, const QString &prompt, uint flags, QByteArray &)
{
    const OSStatus requestStatus = checkRequest(right, flags);
    if (requestStatus != errAuthorizationSuccess)
        return requestStatus;
    const std::optional<uint> caller = callerUid();
    if (!caller)
        return errAuthorizationInternal;

    setDelayedReply(true);
    const QDBusMessage request = message();
    const QDBusConnection bus = connection();
    const uint uid = *caller;
    m_backend->check(
        {request.service(), uid}, QString::fromLatin1(kAdministratorAction), prompt,
        flags & kAuthorizationFlagInteractionAllowed, [this, request, bus, uid](OSStatus status) mutable {
            QByteArray token;
            if (status == errAuthorizationSuccess) {
                const auto minted = m_tokens->mint(uid);
                if (minted) {
                    token = *minted;
                    qCInfo(lcAuthorityService, "Granted %s to uid %u", kNVCAdminRight, uid);
                } else {
                    qCCritical(lcAuthorityService) << "No randomness for a new authorization";
                    status = errAuthorizationInternal;
                }
            } else {
                qCInfo(lcAuthorityService, "Refused %s to uid %u, status %d", kNVCAdminRight, uid, status);
            }
            bus.send(request.createReply({status, token}));
        });
    return errAuthorizationSuccess;
}

int AuthorityService::CopyRights(const QByteArray &token, const QString &right, const QString &prompt,
                                 uint flags)
{
    const OSStatus requestStatus = checkRequest(right, flags);
    if (requestStatus != errAuthorizationSuccess)
        return requestStatus;
    const std::optional<uint> caller = callerUid();
    if (!caller)
        return errAuthorizationInternal;
    const OSStatus tokenStatus = lookupForCaller(token, *caller);
    if (tokenStatus != errAuthorizationSuccess) {
        qCDebug(lcAuthorityService, "Refused to copy rights for uid %u: no such authorization", *caller);
        return tokenStatus;
    }

    setDelayedReply(true);
    const QDBusMessage request = message();
    const QDBusConnection bus = connection();
    m_backend->check({request.service(), *caller}, QString::fromLatin1(kAdministratorAction), prompt,
                     flags & kAuthorizationFlagInteractionAllowed,
                     [this, request, bus, token](OSStatus status) {
                         // The token may have been revoked while the user was being asked.
                         if (status == errAuthorizationSuccess && !m_tokens->extend(token))
                             status = errAuthorizationInvalidRef;
                         bus.send(request.createReply(QVariantList{status}));
                     });
    return errAuthorizationSuccess;
}

int AuthorityService::Free(const QByteArray &token, uint flags)
{
    if (flags & ~kAuthorizationFlagsKnown)
        return errAuthorizationInvalidFlags;
    if (token.size() != kAuthorizationExternalFormLength)
        return errAuthorizationInvalidRef;
    if (!(flags & kAuthorizationFlagDestroyRights))
        return errAuthorizationSuccess;
    const std::optional<uint> caller = callerUid();
    if (!caller)
        return errAuthorizationInternal;
    const OSStatus status = lookupForCaller(token, *caller);
    if (status != errAuthorizationSuccess)
        return status;
    m_tokens->revoke(token);
    qCInfo(lcAuthorityService, "Revoked an authorization on behalf of uid %u", *caller);
    return errAuthorizationSuccess;
}

int AuthorityService::Verify(const QByteArray &token, const QString &right, uint &uid)
{
    uid = 0;
    if (!callerIsDaemon()) {
        qCWarning(lcAuthorityService) << "Refused a verification to an unprivileged caller";
        return errAuthorizationDenied;
    }
    if (right != QLatin1String(kNVCAdminRight))
        return errAuthorizationInvalidSet;
    uint owner = 0;
    const OSStatus status = m_tokens->lookup(token, &owner);
    if (status == errAuthorizationSuccess)
        uid = owner;
    qCDebug(lcAuthorityService, "Verification for uid %u: status %d", owner, status);
    return status;
}

int AuthorityService::CheckCaller(const QString &busName, const QString &action, bool interactive)
{
    if (!callerIsDaemon()) {
        qCWarning(lcAuthorityService) << "Refused a caller check to an unprivileged caller";
        return errAuthorizationDenied;
    }
    if (action != QLatin1String(kAdministratorAction) && action != QLatin1String(kLocalSessionAction))
        return errAuthorizationInvalidSet;
    // Only a unique name names one process; a well-known name could change hands meanwhile.
    if (!busName.startsWith(u':'))
        return errAuthorizationInvalidRef;
    const std::optional<uint> subjectUid = quiven::service::callerUid(connection(), busName);
    if (!subjectUid)
        return errAuthorizationInvalidRef;

    setDelayedReply(true);
    const QDBusMessage request = message();
    const QDBusConnection bus = connection();
    m_backend->check({busName, *subjectUid}, action, QString(), interactive,
                     [request, bus, busName, action, uid = *subjectUid](OSStatus status) {
                         if (status == errAuthorizationSuccess)
                             qCInfo(lcAuthorityService, "%s (uid %u) may %s", qUtf8Printable(busName), uid,
                                    qUtf8Printable(action));
                         else
                             qCInfo(lcAuthorityService, "Refused %s to %s (uid %u), status %d",
                                    qUtf8Printable(action), qUtf8Printable(busName), uid, status);
                         bus.send(request.createReply(QVariantList{status}));
                     });
    return errAuthorizationSuccess;
}
