#include "NVCAuthorizationHolderVerifier.h"

#include "NVCAuthorizationHolderErrors.h"

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcNVCAuthorizationHolderVerifier, "com.norvalis.NVCAuthorizationHolderVerifier")

void NVCAuthorizationHolderVerifier::checkAuthorizationHolder(
    const std::shared_ptr<NVCAuthorizationHolder> &holder, const NVCAuthorizationCheckReply &reply) const
{
    if (!reply)
        return;
    if (!holder) {
        qCWarning(lcNVCAuthorizationHolderVerifier) << "Authorization holder is nil";
        reply(false, makeHolderError(NVCAuthorizationHolderError::VerifierHolderMissing));
        return;
    }
    holder->checkWithReply(reply);
}
