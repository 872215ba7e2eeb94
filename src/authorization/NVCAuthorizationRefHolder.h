#pragma once

#include "NVCAuthorization.h"
#include "NVCAuthorizationHolderProtocol.h"

#include <memory>

// Holds an administrator authorization reference. In weak reference mode the
// holder did not create the reference and must never free it.
class NVCAuthorizationRefHolder : public NVCAuthorizationHolderProtocol
{
public:
    NVCAuthorizationRefHolder(const AuthorizationRef &reference,
                              std::shared_ptr<NVCAuthorization> authorizationUtility,
                              bool weakReferenceMode = false);

    // Null when the map is not a valid coding of a reference holder.
    static std::shared_ptr<NVCAuthorizationRefHolder>
    fromArchive(const QVariantMap &archive, std::shared_ptr<NVCAuthorization> authorizationUtility);

    const AuthorizationRef &reference() const { return m_reference; }
    const QString &localizedReason() const { return m_localizedReason; }
    bool weakReferenceMode() const { return m_weakReferenceMode; }

    bool check();
    void checkWithReply(const NVCAuthorizationCheckReply &reply) override;
    bool updateWithLocalizedReason(const QString &localizedReason,
                                   std::optional<NVCAuthError> *error) override;
    void invalidate() override;
    QVariantMap archive() const override;

private:
    AuthorizationRef m_reference;
    std::shared_ptr<NVCAuthorization> m_authorizationUtility;
    QString m_localizedReason;
    bool m_weakReferenceMode;
};
