#pragma once

#include "AuthorizationBackend.h"

#include <optional>

// For development and tests on a private bus: answers every request, with or
// without interaction, the same way.
class DevAuthorizationBackend : public AuthorizationBackend
{
public:
    explicit DevAuthorizationBackend(OSStatus answer)
        : m_answer(answer)
    {}

    // "grant" (also for an empty text), "deny" or "cancel"; nullopt otherwise.
    static std::optional<OSStatus> answerFor(const QString &setting);
    // The machine's own system bus must never get a backend that grants freely.
    static bool isRealSystemBus(const QString &systemBusAddress);

    void check(const QString &, const QString &, bool, const Done &done) override { done(m_answer); }

private:
    OSStatus m_answer;
};
