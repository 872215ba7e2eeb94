#include "NVCLocalAuthenticationContext.h"

#include <QCoreApplication>

namespace {

NVCAuthError notAvailable()
{
    return {QStringLiteral("NVCLocalAuthenticationDomain"), -6,
            QCoreApplication::translate("NVCLocalAuthenticationContext",
                                        "Local authentication is not available on this system.")};
}

} // namespace

bool NVCLocalAuthenticationContext::canEvaluatePolicy(std::optional<NVCAuthError> *error) const
{
    if (error)
        *error = notAvailable();
    return false;
}

void NVCLocalAuthenticationContext::evaluatePolicy(
    const QString &, const std::function<void(bool, const std::optional<NVCAuthError> &)> &reply) const
{
    if (reply)
        reply(false, notAvailable());
}
