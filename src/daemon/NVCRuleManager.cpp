#include "NVCRuleManager.h"

#include "NVCActivity.h"
#include "NVCSettingsClient.h"

#include <QLoggingCategory>
#include <QPointer>
#include <QStringList>
#include <QThreadPool>

Q_LOGGING_CATEGORY(lcNVCRuleManager, "com.norvalis.NVCRuleManager")

namespace {

template <typename Rule> QString describeRules(const QList<std::shared_ptr<Rule>> &rules)
{
    QStringList descriptions;
    descriptions.reserve(rules.size());
    for (const auto &rule : rules)
        descriptions.append(rule ? rule->description() : QStringLiteral("(null)"));
    return u'(' + descriptions.join(QStringLiteral(", ")) + u')';
}

} // namespace

NVCRuleManager *NVCRuleManager::shared()
{
    static NVCRuleManager *const instance = new NVCRuleManager(QDBusConnection::systemBus());
    return instance;
}

NVCRuleManager::NVCRuleManager(const QDBusConnection &bus, const NVCNamespace &nameSpace)
    : m_settingsClient(std::make_unique<NVCSettingsClient>(bus, nameSpace))
    , m_quivenClient(std::make_unique<NVCQUIVENRuleClient>(bus, nameSpace))
{
    m_quivenClient->addPolicyListener(this);
    m_settingsClient->startListeners();
}

NVCRuleManager::~NVCRuleManager()
{
    m_quivenClient->removePolicyListener(this);
}

QString NVCRuleManager::description() const
{
    return QStringLiteral("<NVCRuleManager: 0x%1>").arg(quintptr(this), 0, 16);
}

void NVCRuleManager::setLocalPolicyUpdateListener(std::function<void()> listener)
{
    QMutexLocker locker(&m_listenerLock);
    m_localPolicyUpdateListener = std::move(listener);
}

void NVCRuleManager::reloadCurrentUserConfigurationWithCallback(const Callback &callback)
{
    const NVCActivity activity(QStringLiteral("Reload current user configuration"));
    reset();
    loadSystemRuleSetWithCallback(callback);
}

void NVCRuleManager::loadSystemRuleSetWithCallback(const Callback &callback)
{
    // The preferences' options go in ahead of the system files' `set` lines, so they win.
    loadOptions();
    m_settingsClient->getSystemSettingsWithReply(
        [this, callback](const QVariantMap &settings, const QDBusError &settingsError) {
            addFileContentsFromSettings(settings, settingsError, [this, callback, settingsError](bool added) {
                if (!added) {
                    // The load callback stays uncalled here; callers bound their own wait.
                    qCCritical(lcNVCRuleManager, "Failed to add system settings: %s",
                               qUtf8Printable(settingsError.message()));
                    return;
                }
                m_quivenClient->getUserRuleset(
                    [this, callback](const QList<WatchRulePtr> &watchRules,
                                     const QList<PolicyRulePtr> &policyRules) {
                        addUserWatchRules(watchRules, policyRules);
                        if (callback)
                            callback(true);
                    },
                    {});
            });
        });
}

void NVCRuleManager::addFileContentsFromSettings(const QVariantMap &settings, const QDBusError &error,
                                                 const Callback &callback)
{
    if (error.isValid()) {
        qCCritical(lcNVCRuleManager, "%s: Error happened when getting system settings: %s",
                   qUtf8Printable(description()), qUtf8Printable(error.message()));
        if (callback)
            callback(false);
        return;
    }
    {
        QMutexLocker locker(&m_lock);
        // Absent (settings not yet known) reads as 0, like any other non-number.
        addSystemRuleFiles(
            settings.value(QString::fromLatin1(NVCSettingsClient::rulesetInUseKey)).toLongLong());
        rebuildRulesCache();
    }
    if (callback)
        callback(true);
}

void NVCRuleManager::addUserWatchRules(const QList<WatchRulePtr> &watchRules,
                                       const QList<PolicyRulePtr> &policyRules)
{
    QMutexLocker locker(&m_lock);
    qCInfo(lcNVCRuleManager, "Received ruleset from daemon: watch rules: %s, policy rules:  %s",
           qUtf8Printable(describeRules(watchRules)), qUtf8Printable(describeRules(policyRules)));
    for (const WatchRulePtr &rule : watchRules)
        addWatchRule(rule, false);
    for (const PolicyRulePtr &rule : policyRules)
        addPolicyRule(rule, false);
    rebuildRulesCache();
}

void NVCRuleManager::authorizeWithCallback(const NVCQUIVENRuleClient::AuthorizationCallback &callback)
{
    const QVariantMap settings = m_settingsClient->systemSettings();
    if (settings.value(QString::fromLatin1(NVCSettingsClient::policySaveNoAdminsKey)).toBool()) {
        if (callback)
            callback(QByteArray(), errAuthorizationSuccess, {});
        return;
    }
    // The prompt may stay up for minutes: it is waited for on this manager's
    // own worker, and the answer comes back to the manager's thread. (Letting
    // go of the authorization afterwards is local: it needs no worker.)
    QPointer<NVCRuleManager> self(this);
    NVCQUIVENRuleClient *client = m_quivenClient.get();
    m_authorizationQueue.start([self, client, callback] {
        client->invokeWithAuthorization([self, callback](const QByteArray &form, OSStatus status,
                                                         const NVCQUIVENRuleClient::Release &release) {
            if (!self) {
                if (release)
                    release();
                return;
            }
            QMetaObject::invokeMethod(
                self.data(),
                [callback, form, status, release] {
                    if (callback)
                        callback(form, status, release);
                },
                Qt::QueuedConnection);
        });
    });
}

void NVCRuleManager::writeToCurrentUserConfigurationWithAuthForm(const QByteArray &authForm,
                                                                 OSStatus authStatus,
                                                                 const Finalizer &finalizer)
{
    saveUserRulesWithAuthorizationExtRef(authForm, authStatus, finalizer);
}

void NVCRuleManager::saveUserRulesWithAuthorizationExtRef(const QByteArray &authForm, OSStatus status,
                                                          const Finalizer &finalizer)
{
    if (status != errAuthorizationSuccess) {
        // The caller's own status handling runs instead of the finalizer.
        qCCritical(lcNVCRuleManager, "Authorization error saving new rules to daemon, status=%d", status);
        return;
    }
    qCDebug(lcNVCRuleManager, "Saving user rules to daemon");
    m_quivenClient->setUserWatchRules(userWatchRules(), userPolicies(), authForm,
                                      [this, finalizer](const QDBusError &daemonError) {
                                          handleUserRuleSaveCallbackError(daemonError);
                                          if (finalizer)
                                              finalizer();
                                      },
                                      {});
}

void NVCRuleManager::handleUserRuleSaveCallbackError(const QDBusError &error)
{
    if (error.isValid())
        qCCritical(lcNVCRuleManager, "Error saving new rules to daemon: error: %s",
                   qUtf8Printable(error.message()));
    else
        qCDebug(lcNVCRuleManager, "Successfully saved new rules to daemon");
}

void NVCRuleManager::policyChangedWithWatchRules(const QList<WatchRulePtr> &watchRules,
                                                 const QList<PolicyRulePtr> &policyRules)
{
    qCDebug(lcNVCRuleManager, "%s", Q_FUNC_INFO);
    QMutexLocker locker(&m_lock);
    reset();
    // reset() drops every option; the preferences' ones must keep the same
    // optional files out as the initial load did.
    loadOptions();
    addFileContentsFromSettings(m_settingsClient->systemSettings(), QDBusError(), [&](bool added) {
        if (added)
            handleUserPolicyUpdateWithWatchRules(watchRules, policyRules);
    });
}

void NVCRuleManager::handleUserPolicyUpdateWithWatchRules(const QList<WatchRulePtr> &watchRules,
                                                          const QList<PolicyRulePtr> &policyRules)
{
    qCDebug(lcNVCRuleManager, "%s", Q_FUNC_INFO);
    addUserWatchRules(watchRules, policyRules);
    std::function<void()> listener;
    {
        QMutexLocker locker(&m_listenerLock);
        listener = m_localPolicyUpdateListener;
    }
    if (listener)
        listener();
}
