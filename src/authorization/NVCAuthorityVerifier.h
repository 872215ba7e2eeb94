#pragma once

#include "AuthorizationStatus.h"

#include <QDBusConnection>
#include <QString>
#include <memory>

class NVCAuthorityProxy;

// The daemons' side of an authorization: asks the authority whether an
// external form grants the administrator right, and to which user.
class NVCAuthorityVerifier
{
public:
    struct Result
    {
        OSStatus status = errAuthorizationInternal;
        uint uid = 0;
        bool granted() const { return status == errAuthorizationSuccess; }
    };

    explicit NVCAuthorityVerifier(const QDBusConnection &connection = QDBusConnection::systemBus(),
                                  const QString &service = QString::fromLatin1(kNVCAuthorityService));
    ~NVCAuthorityVerifier();
    NVCAuthorityVerifier(const NVCAuthorityVerifier &) = delete;
    NVCAuthorityVerifier &operator=(const NVCAuthorityVerifier &) = delete;

    Result verify(const QByteArray &externalForm,
                  const QString &right = QString::fromLatin1(kNVCAdminRight)) const;

private:
    std::unique_ptr<NVCAuthorityProxy> m_authority;
};
