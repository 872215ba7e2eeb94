#pragma once

#include "NVCAuthError.h"

#include <QString>
#include <functional>
#include <optional>

// A local-authentication context. This platform has no biometric or
// device-owner evaluation, so every evaluation fails and callers fall back to
// the administrator authorization.
class NVCLocalAuthenticationContext
{
public:
    // Device-owner authentication, the policy the authorization actor asks for.
    static constexpr int kDeviceOwnerAuthenticationPolicy = 2;

    explicit NVCLocalAuthenticationContext(int policy = kDeviceOwnerAuthenticationPolicy)
        : m_policy(policy)
    {}
    int policy() const { return m_policy; }

    bool canEvaluatePolicy(std::optional<NVCAuthError> *error) const;
    void evaluatePolicy(const QString &localizedReason,
                        const std::function<void(bool, const std::optional<NVCAuthError> &)> &reply) const;

    // Biometric authentication is never available here.
    static bool performTouchIDAuthentication() { return false; }

private:
    int m_policy;
};
