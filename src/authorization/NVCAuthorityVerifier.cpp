#include "NVCAuthorityVerifier.h"

#include "NVCAuthorityProxy.h"

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcNVCAuthorityVerifier, "com.norvalis.NVCAuthorityVerifier")

NVCAuthorityVerifier::NVCAuthorityVerifier(const QDBusConnection &connection, const QString &service)
    : m_authority(
          std::make_unique<NVCAuthorityProxy>(service, QString::fromLatin1(kNVCAuthorityPath), connection))
{}

NVCAuthorityVerifier::~NVCAuthorityVerifier() = default;

NVCAuthorityVerifier::Result NVCAuthorityVerifier::verify(const QByteArray &externalForm,
                                                          const QString &right) const
{
    // A malformed form never leaves the process.
    if (externalForm.size() != kAuthorizationExternalFormLength)
        return {errAuthorizationInvalidRef, 0};
    QDBusPendingReply<int, uint> reply = m_authority->Verify(externalForm, right);
    reply.waitForFinished();
    if (reply.isError()) {
        qCWarning(lcNVCAuthorityVerifier)
            << "Authority could not verify an authorization:" << reply.error().name()
            << reply.error().message();
        return {errAuthorizationInternal, 0};
    }
    return {reply.argumentAt<0>(), reply.argumentAt<1>()};
}
