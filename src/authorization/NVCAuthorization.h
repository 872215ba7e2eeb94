#pragma once

#include "AuthorizationStatus.h"
#include "NVCAuthError.h"
#include "NVCAuthorizationRef.h"

#include <QDBusConnection>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

class NVCAuthorityProxy;
class QObject;

// Obtains, checks, transfers and frees administrator authorizations through
// the authority service. Every request asks for the one right
// "system.privilege.admin". Callers own the references it makes.
class NVCAuthorization
{
public:
    using ExternalFormReply = std::function<void(const AuthorizationRef &, const QByteArray &, OSStatus)>;
    using InternalizeReply =
        std::function<void(const AuthorizationRef &, const std::optional<NVCAuthError> &)>;

    explicit NVCAuthorization(const QDBusConnection &connection = QDBusConnection::systemBus(),
                              const QString &service = QString::fromLatin1(kNVCAuthorityService));
    ~NVCAuthorization();
    NVCAuthorization(const NVCAuthorization &) = delete;
    NVCAuthorization &operator=(const NVCAuthorization &) = delete;

    // Interaction allowed, extend rights, pre-authorize.
    quint32 flags() const;

    // A null message asks without a prompt of our own; the user then sees the
    // authority's default text.
    OSStatus create(AuthorizationRef *reference, const QString &message);
    OSStatus create(AuthorizationRef *reference, const QString &message, quint32 flags);
    OSStatus update(const AuthorizationRef &reference, const QString &message);

    // The same requests without waiting: a prompt can stay up for minutes, and
    // a window must keep drawing meanwhile. Call them on `context`'s thread;
    // the reply runs there once the authority has answered, and never when
    // `context` is gone by then.
    using CreateReply = std::function<void(const AuthorizationRef &reference, OSStatus status)>;
    void createAsync(const QString &message, QObject *context, CreateReply reply);
    void isValidAsync(const AuthorizationRef &reference, QObject *context, std::function<void(bool)> reply);
    // Revokes the right like `destroy` and lets go of the reference at once.
    void destroyAsync(AuthorizationRef *reference);
    // Never shows a prompt.
    bool isValid(const AuthorizationRef &reference);
    // Revokes the right for every holder of the reference's external form.
    void destroy(AuthorizationRef *reference);
    // Without destroy-rights only this process lets go of the reference.
    OSStatus free(AuthorizationRef *reference, quint32 flags);

    void makeExternalAuthorization(const AuthorizationRef &reference, const ExternalFormReply &reply);
    void makeAuthorizationFromExternalRepresentation(const QByteArray &data, const InternalizeReply &reply);
    AuthorizationRef authorizationWithData(const QByteArray &data, std::optional<NVCAuthError> *error);
    QByteArray dataWithAuthorization(const AuthorizationRef &reference, std::optional<NVCAuthError> *error);

private:
    OSStatus copyRights(const AuthorizationRef &reference, const QString &message, quint32 flags);
    NVCAuthorityProxy &authorityFor(quint32 flags) const;

    // Two proxies so that each call's timeout is fixed and they can be used from any thread.
    std::unique_ptr<NVCAuthorityProxy> m_interactiveAuthority;
    std::unique_ptr<NVCAuthorityProxy> m_quietAuthority;
};
