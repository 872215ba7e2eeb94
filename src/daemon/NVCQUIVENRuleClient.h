#pragma once

#include "AuthorizationStatus.h"
#include "NVCAuthorizationRef.h"
#include "NVCQUIVENClient.h"
#include "PolicyRule.h"
#include "WatchRule.h"

#include <QList>
#include <functional>
#include <memory>

class ComNorvalisNVCQUIVENDaemonRuleProtocolInterface;
class NVCAuthorization;
class NVCCustomizedStrings;

// Receives the filter daemon's announcement that the user ruleset changed.
class NVCPolicyListener
{
public:
    virtual ~NVCPolicyListener() = default;
    virtual void policyChangedWithWatchRules(const QList<WatchRulePtr> &watchRules,
                                             const QList<PolicyRulePtr> &policyRules) = 0;
    // How the listener appears in log lines.
    virtual QString listenerDescription() const;
};

// The filter daemon client that carries the rule calls: reading and saving the
// user ruleset, authorizations with the product's prompt, and the fan-out of
// policy-changed events. Unlike the plain filter client it never listens for
// the terminate event, so a restarted daemon is simply reconnected.
//
// Replies, error callbacks and listener calls run on this object's thread,
// whichever thread made the call.
class NVCQUIVENRuleClient : public NVCQUIVENClient
{
    Q_OBJECT
public:
    static constexpr auto ruleProtocol = "NVCQUIVENDaemonRuleProtocol";
    static constexpr auto policyChangedProtocol = "NVCQUIVENPolicyChangedProtocol";

    // External form (32 bytes, meaningful only when status is 0), status, and
    // the release block the caller runs once the privileged call is over.
    using Release = std::function<void()>;
    using AuthorizationCallback =
        std::function<void(const QByteArray &externalForm, OSStatus status, const Release &release)>;
    using AuthRefCallback =
        std::function<void(const AuthorizationRef &reference, OSStatus status, const Release &release)>;
    using RulesetReply = std::function<void(const QList<WatchRulePtr> &, const QList<PolicyRulePtr> &)>;
    // Called with the daemon's answer: an invalid error means the save was taken.
    using SaveReply = std::function<void(const QDBusError &daemonError)>;

    explicit NVCQUIVENRuleClient(const QDBusConnection &bus,
                                 const NVCNamespace &nameSpace = NVCNamespace::globalNamespace(),
                                 QObject *parent = nullptr);
    ~NVCQUIVENRuleClient() override;

    // The first listener subscribes to the daemon's policy-changed events, the
    // last one removed unsubscribes. Listeners are not owned and must be
    // removed before they are destroyed.
    void addPolicyListener(NVCPolicyListener *listener);
    void removePolicyListener(NVCPolicyListener *listener);
    qsizetype policyListenerCount() const;

    // Passes both arrays to every listener, in the order they were added.
    void policyChangedWithWatchRules(const QList<WatchRulePtr> &watchRules,
                                     const QList<PolicyRulePtr> &policyRules);

    // The prompt of a rule save: "<product> wants to update your security policy".
    QString authorizationPrompt() const;
    // These block while the authority asks the user; call them off the GUI thread.
    void invokeWithAuthorization(const AuthorizationCallback &callback);
    void getAuthorizationWithMessage(const QString &message, const AuthorizationCallback &callback);
    void setupAuthRefWithMessage(const QString &message, const AuthRefCallback &callback);

    // With interaction off, an authorization that would need the user's answer
    // fails instead of prompting (for callers without anyone to ask).
    void setInteractionAllowed(bool allowed) { m_interactionAllowed = allowed; }
    bool interactionAllowed() const { return m_interactionAllowed; }

    // The rule protocol. A connection failure goes only to `error`, and the
    // reply then never runs; a daemon's refusal of a save goes to `reply`.
    void getUserRuleset(const RulesetReply &reply, const ErrorCallback &error);
    void setUserWatchRules(const QList<WatchRulePtr> &watchRules, const QList<PolicyRulePtr> &policyRules,
                           const QByteArray &authorization, const SaveReply &reply,
                           const ErrorCallback &error);

protected:
    NVCSubscriptionListener *createListener(const QString &protocolName) override;

private:
    ComNorvalisNVCQUIVENDaemonRuleProtocolInterface *ruleProxy();

    ComNorvalisNVCQUIVENDaemonRuleProtocolInterface *m_rules = nullptr;
    mutable QRecursiveMutex m_listenersLock;
    QList<NVCPolicyListener *> m_policyListeners;
    std::unique_ptr<NVCCustomizedStrings> m_customizedStrings;
    std::shared_ptr<NVCAuthorization> m_authorization;
    bool m_interactionAllowed = true;
};
