#pragma once

#include "NVCAuthorization.h"
#include "NVCAuthorizationHolder.h"
#include "NVCAuthorizationHolderVerifier.h"
#include "NVCBlockSubscriber.h"

#include <QObject>
#include <QRecursiveMutex>
#include <QTimer>
#include <chrono>
#include <memory>

// Obtains an authorization of one kind on demand, keeps it while it checks
// out, and lets it lapse a fixed time after it was last granted.
class NVCAuthorizationActor : public QObject
{
    Q_OBJECT
public:
    enum Kind : int
    {
        AdministratorAuthorization = 0,
        LocalAuthenticationContext = 1,
        EmptyAuthorization = 2
    };
    enum State : int
    {
        None = 0,
        Held = 1
    };
    using HolderReply = std::function<void(const std::shared_ptr<NVCAuthorizationHolder> &,
                                           const std::optional<NVCAuthError> &)>;

    static constexpr std::chrono::milliseconds kRevocationInterval{150 * 1000};

    // Must be made on the thread that runs the event loop the timer uses.
    NVCAuthorizationActor(int kind, const QString &localizedReason,
                          std::shared_ptr<NVCAuthorization> authorizationUtility,
                          std::chrono::milliseconds revocationInterval = kRevocationInterval,
                          QObject *parent = nullptr);

    int kind() const { return m_kind; }
    const QString &localizedReason() const { return m_localizedReason; }
    int authorizationState() const;
    std::shared_ptr<NVCAuthorizationHolder> authorizationHolder() const;

    void askPermissionsWithReply(const HolderReply &reply);
    void obtainAuthorizationWithReply(const HolderReply &reply);
    void updateWithAuthorizationHolder(const std::shared_ptr<NVCAuthorizationHolder> &holder);
    void revokePermissions();
    using StateSubscriber = NVCBlockSubscriber<int>;
    // Calls `block` at once with the current state and on every change, until
    // the returned subscriber is cancelled.
    std::shared_ptr<StateSubscriber> subscribeToAuthorizationState(StateSubscriber::Block block);

private:
    void createHolderWithReply(const HolderReply &reply);
    void installOnMainThread(const std::shared_ptr<NVCAuthorizationHolder> &holder,
                             const std::optional<NVCAuthError> &error, const HolderReply &reply);
    void startTimer();
    void stopTimer();

    const int m_kind;
    const QString m_localizedReason;
    std::shared_ptr<NVCAuthorization> m_authorizationUtility;
    std::shared_ptr<NVCLocalAuthenticationContext> m_localAuthenticationContext;
    NVCAuthorizationHolderVerifier m_authorizationVerifier;
    std::shared_ptr<NVCBlockSubscriberStorage<int>> m_subscribersStorage;
    QTimer m_revokingAuthorizationTimer;
    // Stands in for the actor's serial queue: holder and state change together.
    mutable QRecursiveMutex m_mutex;
    std::shared_ptr<NVCAuthorizationHolder> m_authorizationHolder;
    int m_authorizationState = None;
};
