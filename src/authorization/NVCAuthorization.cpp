#include "NVCAuthorization.h"

#include "NVCAuthorityProxy.h"

#include <QDBusPendingCallWatcher>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcNVCAuthorization, "com.norvalis.NVCAuthorization")

namespace {

// A prompt can stay on screen for a long time; checks without one answer at once.
constexpr int kInteractiveTimeoutMs = 10 * 60 * 1000;
constexpr int kQuietTimeoutMs = 25 * 1000;

std::unique_ptr<NVCAuthorityProxy> makeProxy(const QDBusConnection &connection, const QString &service,
                                             int timeoutMs)
{
    auto proxy =
        std::make_unique<NVCAuthorityProxy>(service, QString::fromLatin1(kNVCAuthorityPath), connection);
    proxy->setTimeout(timeoutMs);
    return proxy;
}

OSStatus failedCallStatus(const QDBusError &error)
{
    qCWarning(lcNVCAuthorization) << "Authority call failed:" << error.name() << error.message();
    return errAuthorizationInternal;
}

} // namespace

NVCAuthorization::NVCAuthorization(const QDBusConnection &connection, const QString &service)
    : m_interactiveAuthority(makeProxy(connection, service, kInteractiveTimeoutMs))
    , m_quietAuthority(makeProxy(connection, service, kQuietTimeoutMs))
{}

NVCAuthorization::~NVCAuthorization() = default;

NVCAuthorityProxy &NVCAuthorization::authorityFor(quint32 flags) const
{
    return (flags & kAuthorizationFlagInteractionAllowed) ? *m_interactiveAuthority : *m_quietAuthority;
}

quint32 NVCAuthorization::flags() const
{
    return kAuthorizationFlagInteractionAllowed | kAuthorizationFlagExtendRights |
           kAuthorizationFlagPreAuthorize;
}

OSStatus NVCAuthorization::create(AuthorizationRef *reference, const QString &message)
{
    return create(reference, message, flags());
}

OSStatus NVCAuthorization::create(AuthorizationRef *reference, const QString &message, quint32 flags)
{
    if (!reference)
        return errAuthorizationInvalidPointer;
    reference->reset();
    QDBusPendingReply<int, QByteArray> reply = authorityFor(flags).Create(
        QString::fromLatin1(kNVCAdminRight), message.isNull() ? QString() : message, flags);
    reply.waitForFinished();
    if (reply.isError())
        return failedCallStatus(reply.error());
    const OSStatus status = reply.argumentAt<0>();
    qCDebug(lcNVCAuthorization) << "AuthorizationCreate status" << status;
    if (status == errAuthorizationSuccess) {
        const QByteArray token = reply.argumentAt<1>();
        if (token.size() != kAuthorizationExternalFormLength)
            return errAuthorizationInternal;
        *reference = std::make_shared<NVCAuthorizationRef>(token);
    }
    return status;
}

void NVCAuthorization::createAsync(const QString &message, QObject *context, CreateReply reply)
{
    const QDBusPendingReply<int, QByteArray> call =
        m_interactiveAuthority->Create(QString::fromLatin1(kNVCAdminRight), message, flags());
    auto *watcher = new QDBusPendingCallWatcher(call, context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [reply = std::move(reply)](QDBusPendingCallWatcher *finished) {
                         finished->deleteLater();
                         const QDBusPendingReply<int, QByteArray> answer = *finished;
                         AuthorizationRef reference;
                         OSStatus status = answer.isError() ? failedCallStatus(answer.error())
                                                            : OSStatus(answer.argumentAt<0>());
                         qCDebug(lcNVCAuthorization) << "AuthorizationCreate status" << status;
                         if (status == errAuthorizationSuccess) {
                             const QByteArray token = answer.argumentAt<1>();
                             if (token.size() == kAuthorizationExternalFormLength)
                                 reference = std::make_shared<NVCAuthorizationRef>(token);
                             else
                                 status = errAuthorizationInternal;
                         }
                         reply(reference, status);
                     });
}

void NVCAuthorization::isValidAsync(const AuthorizationRef &reference, QObject *context,
                                    std::function<void(bool)> reply)
{
    if (!reference) {
        QMetaObject::invokeMethod(
            context, [reply = std::move(reply)] { reply(false); }, Qt::QueuedConnection);
        return;
    }
    const QDBusPendingReply<int> call = m_quietAuthority->CopyRights(
        reference->token(), QString::fromLatin1(kNVCAdminRight), QString(), kAuthorizationFlagExtendRights);
    auto *watcher = new QDBusPendingCallWatcher(call, context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [reply = std::move(reply)](QDBusPendingCallWatcher *finished) {
                         finished->deleteLater();
                         const QDBusPendingReply<int> answer = *finished;
                         reply(!answer.isError() && answer.value() == errAuthorizationSuccess);
                     });
}

void NVCAuthorization::destroyAsync(AuthorizationRef *reference)
{
    if (!reference || !*reference)
        return;
    // Nobody waits for the answer; a failure is only worth a log line.
    auto *watcher = new QDBusPendingCallWatcher(
        m_quietAuthority->Free((*reference)->token(), kAuthorizationFlagDestroyRights));
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, [](QDBusPendingCallWatcher *finished) {
        finished->deleteLater();
        const QDBusPendingReply<int> answer = *finished;
        const OSStatus status = answer.isError() ? failedCallStatus(answer.error()) : answer.value();
        if (status != errAuthorizationSuccess)
            qCWarning(lcNVCAuthorization) << "Revoking an authorization failed, status" << status;
    });
    reference->reset();
}

OSStatus NVCAuthorization::update(const AuthorizationRef &reference, const QString &message)
{
    const OSStatus status =
        copyRights(reference, message, kAuthorizationFlagInteractionAllowed | kAuthorizationFlagExtendRights);
    qCDebug(lcNVCAuthorization, "AuthorizationCopyRights status %d", status);
    return status;
}

bool NVCAuthorization::isValid(const AuthorizationRef &reference)
{
    if (!reference)
        return false;
    return copyRights(reference, QString(), kAuthorizationFlagExtendRights) == errAuthorizationSuccess;
}

void NVCAuthorization::destroy(AuthorizationRef *reference)
{
    if (!reference || !*reference)
        return;
    free(reference, kAuthorizationFlagDestroyRights);
}

OSStatus NVCAuthorization::free(AuthorizationRef *reference, quint32 flags)
{
    if (!reference || !*reference)
        return errAuthorizationInvalidRef;
    OSStatus status = errAuthorizationSuccess;
    if (flags & kAuthorizationFlagDestroyRights) {
        QDBusPendingReply<int> reply = m_quietAuthority->Free((*reference)->token(), flags);
        reply.waitForFinished();
        status = reply.isError() ? failedCallStatus(reply.error()) : reply.value();
        if (status != errAuthorizationSuccess)
            qCWarning(lcNVCAuthorization) << "Revoking an authorization failed, status" << status;
    }
    reference->reset();
    return status;
}

OSStatus NVCAuthorization::copyRights(const AuthorizationRef &reference, const QString &message,
                                      quint32 flags)
{
    if (!reference)
        return errAuthorizationInvalidRef;
    QDBusPendingReply<int> reply = authorityFor(flags).CopyRights(
        reference->token(), QString::fromLatin1(kNVCAdminRight), message, flags);
    reply.waitForFinished();
    return reply.isError() ? failedCallStatus(reply.error()) : reply.value();
}

void NVCAuthorization::makeExternalAuthorization(const AuthorizationRef &reference,
                                                 const ExternalFormReply &reply)
{
    std::optional<NVCAuthError> error;
    const QByteArray data = dataWithAuthorization(reference, &error);
    if (!reply)
        return;
    if (error)
        reply(reference, QByteArray(), static_cast<OSStatus>(error->code));
    else
        reply(reference, data, errAuthorizationSuccess);
}

void NVCAuthorization::makeAuthorizationFromExternalRepresentation(const QByteArray &data,
                                                                   const InternalizeReply &reply)
{
    if (!reply)
        return;
    std::optional<NVCAuthError> error;
    const AuthorizationRef reference = authorizationWithData(data, &error);
    reply(reference, error);
}

AuthorizationRef NVCAuthorization::authorizationWithData(const QByteArray &data,
                                                         std::optional<NVCAuthError> *error)
{
    // Whether the token is still live is the authority's to say when it is used.
    if (data.size() != kAuthorizationExternalFormLength) {
        if (error)
            *error = osStatusError(errAuthorizationInvalidRef);
        return nullptr;
    }
    if (error)
        error->reset();
    return std::make_shared<NVCAuthorizationRef>(data);
}

QByteArray NVCAuthorization::dataWithAuthorization(const AuthorizationRef &reference,
                                                   std::optional<NVCAuthError> *error)
{
    const OSStatus status = !reference ? errAuthorizationInvalidRef
                            : reference->token().size() != kAuthorizationExternalFormLength
                                ? errAuthorizationExternalizeNotAllowed
                                : errAuthorizationSuccess;
    if (status != errAuthorizationSuccess) {
        qCCritical(lcNVCAuthorization, "Failed to make external form from authRef at %p, status=%d",
                   static_cast<const void *>(reference.get()), status);
        if (error)
            *error = osStatusError(status);
        return QByteArray();
    }
    if (error)
        error->reset();
    return reference->token();
}
