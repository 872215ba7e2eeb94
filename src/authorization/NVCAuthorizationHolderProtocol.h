#pragma once

#include "NVCAuthError.h"

#include <QString>
#include <QVariantMap>
#include <functional>
#include <optional>

using NVCAuthorizationCheckReply = std::function<void(bool, const std::optional<NVCAuthError> &)>;

// What every holder answers: a check, a re-prompt with the daemon's own
// reason, invalidation, and its coding under its own keys.
class NVCAuthorizationHolderProtocol
{
public:
    virtual ~NVCAuthorizationHolderProtocol() = default;

    virtual void checkWithReply(const NVCAuthorizationCheckReply &reply) = 0;
    virtual bool updateWithLocalizedReason(const QString &localizedReason,
                                           std::optional<NVCAuthError> *error) = 0;
    virtual void invalidate() = 0;
    // The holder's own coding; an empty map when there is nothing to send.
    virtual QVariantMap archive() const = 0;
};
