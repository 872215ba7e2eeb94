#pragma once

#include "NVCAuthorizationHolderProtocol.h"
#include "NVCLocalAuthenticationContext.h"

#include <memory>

// Holds a local-authentication context the caller keeps alive; the holder only
// observes it, except for a context it decoded itself.
class NVCLocalAuthenticationContextHolder : public NVCAuthorizationHolderProtocol
{
public:
    NVCLocalAuthenticationContextHolder(const std::shared_ptr<NVCLocalAuthenticationContext> &context,
                                        const QString &localizedReason);

    static std::shared_ptr<NVCLocalAuthenticationContextHolder> fromArchive(const QVariantMap &archive);

    std::shared_ptr<NVCLocalAuthenticationContext> context() const { return m_context.lock(); }
    const QString &localizedReason() const { return m_localizedReason; }

    void checkWithReply(const NVCAuthorizationCheckReply &reply) override;
    bool updateWithLocalizedReason(const QString &localizedReason,
                                   std::optional<NVCAuthError> *error) override;
    void invalidate() override;
    QVariantMap archive() const override;

private:
    std::weak_ptr<NVCLocalAuthenticationContext> m_context;
    std::shared_ptr<NVCLocalAuthenticationContext> m_decodedContext;
    QString m_localizedReason;
};
