#pragma once

#include "NVCAuthorizationHolderProtocol.h"

#include <memory>

// Deliberately holds nothing: stands for acting without authorization where a
// daemon accepts that. Its check always fails.
class NVCEmptyAuthorizationHolder : public NVCAuthorizationHolderProtocol
{
public:
    static std::shared_ptr<NVCEmptyAuthorizationHolder> fromArchive(const QVariantMap &archive);

    void checkWithReply(const NVCAuthorizationCheckReply &reply) override;
    bool updateWithLocalizedReason(const QString &localizedReason,
                                   std::optional<NVCAuthError> *error) override;
    void invalidate() override {}
    QVariantMap archive() const override;
};
