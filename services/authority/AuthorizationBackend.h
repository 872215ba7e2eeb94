#pragma once

#include "AuthorizationStatus.h"

#include <QString>
#include <functional>

// The polkit actions of the product.
inline constexpr char kAdministratorAction[] = "com.norvalis.quiven.admin";
// Reloading the rules, registering an agent, deleting the suggestion log.
inline constexpr char kLocalSessionAction[] = "com.norvalis.quiven.session";

// The process asking, by its unique bus name, and its user.
struct AuthorizationSubject
{
    QString busName;
    uint uid = 0;
};

// Decides whether a process may have one of the product's actions, possibly
// after asking its user.
class AuthorizationBackend
{
public:
    using Done = std::function<void(OSStatus)>;

    virtual ~AuthorizationBackend() = default;
    virtual void check(const AuthorizationSubject &subject, const QString &actionId, const QString &message,
                       bool allowInteraction, const Done &done) = 0;
};
