#include "NVCAuthorizationHolderErrors.h"

namespace {

NVCAuthError holderError(qint64 code, const char *description)
{
    return {QString::fromLatin1(kNVCAuthorizationHolderDomain), code, QString::fromLatin1(description)};
}

} // namespace

NVCAuthError makeHolderError(NVCAuthorizationHolderError which)
{
    switch (which) {
    case NVCAuthorizationHolderError::ReferenceMissing:
        return holderError(101,
                           "Authorization is invalid. It is possible that AuthRef is nil or something else "
                           "went wrong.");
    case NVCAuthorizationHolderError::ReferenceCheckFailed:
        return holderError(102, "Authorization check failed. It is possible that AuthRef is nil or something "
                                "else went wrong.");
    case NVCAuthorizationHolderError::ReferenceUpdateFailed:
        return holderError(103,
                           "Update authorization message failed. It is possible that we can't create "
                           "AuthRef with your message. Message may be nil or something else went wrong.");
    case NVCAuthorizationHolderError::EmptyAuthorization:
        return holderError(101, "Authorization is invalid. It is intentional in this case.");
    case NVCAuthorizationHolderError::ContextMissing:
        return holderError(103,
                           "Authentication context is invalid. Somehow it was deallocated. Check that you "
                           "hold context.");
    case NVCAuthorizationHolderError::ReasonMissing:
        return holderError(
            104, "Localized reason can't be nil or empty. Please, provide proper localized reason.");
    case NVCAuthorizationHolderError::VerifierHolderMissing:
        return {QString::fromLatin1(kNVCAuthorizationHolderVerifierDomain), 101,
                QStringLiteral(
                    "Unexpected behaviour. Invalid authorization holder. Holder is nil. Look at logs for "
                    "detail information.")};
    }
    Q_UNREACHABLE();
}
