#include "NVCRuleManager.h"

#include "NVCActivity.h"
#include "NVCSettingsClient.h"
#include "ProductFolders.h"

#include <QLoggingCategory>
#include <QStringList>

Q_LOGGING_CATEGORY(lcNVCRuleManager, "com.norvalis.NVCRuleManager")

namespace {

// "quiven-system-ruleset-in-use" 0, 1 and 2; any other value selects none.
constexpr const char *kSystemRulesets[] = {"quiven.rc", "quiven_classic.rc", "paranoid.rc"};

// Added unless their option reads 2, in this order.
constexpr std::pair<const char *, const char *> kOptionalSystemFiles[] = {
    {"policy.global.user", "user.rc"},
    {"policy.global.webcam", "webcam.rc"},
    {"policy.global.startup", "startup.rc"},
    {"policy.global.exec", "exec.rc"},
};

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
        const qlonglong inUse =
            settings.value(QString::fromLatin1(NVCSettingsClient::rulesetInUseKey)).toLongLong();
        if (inUse >= 0 && inUse < qlonglong(std::size(kSystemRulesets)))
            addFileContents(ProductFolders::systemRuleFile(QString::fromLatin1(kSystemRulesets[inUse])),
                            true);
        // Read only now, so the chosen ruleset's `set` lines count.
        for (const auto &[option, fileName] : kOptionalSystemFiles) {
            if (getOption(QString::fromLatin1(option)) != 2)
                addFileContents(ProductFolders::systemRuleFile(QString::fromLatin1(fileName)), true);
        }
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
    m_quivenClient->invokeWithAuthorization(callback);
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
