#pragma once

#include "AuthorizationStatus.h"

#include <QString>
#include <functional>

// Decides whether the process behind a bus name may have the administrator
// right, possibly after asking its user.
class AuthorizationBackend
{
public:
    using Done = std::function<void(OSStatus)>;

    virtual ~AuthorizationBackend() = default;
    virtual void check(const QString &subjectBusName, const QString &message, bool allowInteraction,
                       const Done &done) = 0;
};
