#pragma once

#include "NVCAuthError.h"

// Errors of the authorization holders. Codes 101 and 103 each carry two
// meanings depending on the holder that raises them; daemons rely on that.
inline constexpr char kNVCAuthorizationHolderDomain[] = "NVCAuthorizationHolderDomain";
inline constexpr char kNVCAuthorizationHolderVerifierDomain[] = "NVCAuthorizationHolderVerifier";

enum class NVCAuthorizationHolderError
{
    ReferenceMissing,      // 101
    ReferenceCheckFailed,  // 102
    ReferenceUpdateFailed, // 103
    EmptyAuthorization,    // 101
    ContextMissing,        // 103
    ReasonMissing,         // 104
    VerifierHolderMissing, // 101 in the verifier's domain
};

NVCAuthError makeHolderError(NVCAuthorizationHolderError which);
