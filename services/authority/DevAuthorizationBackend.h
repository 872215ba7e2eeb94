#pragma once

#include "AuthorizationBackend.h"

#include <optional>

// For development and tests on a private bus. Stands in for polkit with the
// product's defaults: the authority's own user and root stand for the active
// local session. The administrator action answers as the prompt would
// (the same answer for everyone, with or without interaction); the
// session action is granted in the session and refused outside it.
class DevAuthorizationBackend : public AuthorizationBackend
{
public:
    explicit DevAuthorizationBackend(OSStatus answer)
        : m_answer(answer)
    {}

    // "grant" (also for an empty text), "deny" or "cancel"; nullopt otherwise.
    static std::optional<OSStatus> answerFor(const QString &setting);

    void check(const AuthorizationSubject &subject, const QString &actionId, const QString &message,
               bool allowInteraction, const Done &done) override;

private:
    OSStatus m_answer;
};
