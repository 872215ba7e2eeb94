#pragma once

#include "NVCAuthorizationHolder.h"

#include <memory>

// Checks a holder that may be missing altogether.
class NVCAuthorizationHolderVerifier
{
public:
    void checkAuthorizationHolder(const std::shared_ptr<NVCAuthorizationHolder> &holder,
                                  const NVCAuthorizationCheckReply &reply) const;
};
