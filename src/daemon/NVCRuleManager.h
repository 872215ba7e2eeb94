#pragma once

#include "NVCQUIVENRuleClient.h"
#include "RuleManager.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QThreadPool>
#include <functional>
#include <memory>

class NVCSettingsClient;

// The ruleset model of the configuration application: the system settings
// choose the system rule files, the filter daemon owns the user's rules, and
// saves go to the filter daemon under an administrator authorization. The
// in-memory model changes only when the daemon announces a new ruleset.
//
// The manager and its clients belong to the thread that made them (the GUI
// thread in the application): every callback below runs there, whichever
// thread started the call.
class NVCRuleManager : public RuleManager, public NVCPolicyListener
{
public:
    using Callback = std::function<void(bool)>;
    using Finalizer = std::function<void()>;

    // The process-wide instance on the system bus, made on first use.
    static NVCRuleManager *shared();

    // initWithCurrentUserConfiguration: an empty model with its own settings
    // and rule clients on `bus`, listening for the daemon's policy changes.
    explicit NVCRuleManager(const QDBusConnection &bus,
                            const NVCNamespace &nameSpace = NVCNamespace::globalNamespace());
    ~NVCRuleManager() override;

    NVCQUIVENRuleClient *quivenClient() const { return m_quivenClient.get(); }
    NVCSettingsClient *settingsClient() const { return m_settingsClient.get(); }

    // Called after a policy change from the daemon has been merged.
    void setLocalPolicyUpdateListener(std::function<void()> listener);

    void reloadCurrentUserConfigurationWithCallback(const Callback &callback);
    // Preferences, system settings, system rule files, then the user's rules
    // from the daemon. When the settings cannot be fetched the callback is
    // never called: callers must not wait for it without a limit.
    void loadSystemRuleSetWithCallback(const Callback &callback);
    // Adds the system rule files the settings select; an error (valid) skips
    // them and answers false.
    void addFileContentsFromSettings(const QVariantMap &settings, const QDBusError &error,
                                     const Callback &callback);
    void addUserWatchRules(const QList<WatchRulePtr> &watchRules, const QList<PolicyRulePtr> &policyRules);

    // Answers at once without any authorization when non-administrators may
    // save rules; otherwise asks the user without blocking the caller: the
    // callback runs on this manager's thread once the user has answered.
    void authorizeWithCallback(const NVCQUIVENRuleClient::AuthorizationCallback &callback);
    void writeToCurrentUserConfigurationWithAuthForm(const QByteArray &authForm, OSStatus authStatus,
                                                     const Finalizer &finalizer);
    // A failed authorization sends nothing and leaves the finalizer uncalled;
    // so does a lost connection. A daemon's answer, refusal or not, runs it.
    void saveUserRulesWithAuthorizationExtRef(const QByteArray &authForm, OSStatus status,
                                              const Finalizer &finalizer);
    void handleUserRuleSaveCallbackError(const QDBusError &error);

    void policyChangedWithWatchRules(const QList<WatchRulePtr> &watchRules,
                                     const QList<PolicyRulePtr> &policyRules) override;
    void handleUserPolicyUpdateWithWatchRules(const QList<WatchRulePtr> &watchRules,
                                              const QList<PolicyRulePtr> &policyRules);
    QString description() const override;
    QString listenerDescription() const override { return description(); }

private:
    std::unique_ptr<NVCSettingsClient> m_settingsClient;
    std::unique_ptr<NVCQUIVENRuleClient> m_quivenClient;
    QRecursiveMutex m_listenerLock;
    std::function<void()> m_localPolicyUpdateListener;
    // Waits for the user's answer to authorization prompts; declared last, so
    // the manager's destruction waits for a prompt in progress before the
    // clients it uses go.
    QThreadPool m_authorizationQueue;
};
