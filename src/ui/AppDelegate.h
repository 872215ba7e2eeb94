#pragma once

#include "NVCAuthorizationDelegate.h"
#include "NVCAuthorizationRef.h"

#include <QDBusConnection>
#include <QRecursiveMutex>
#include <QThreadPool>
#include <QVariantMap>
#include <chrono>
#include <functional>
#include <memory>

class NVCAuthorization;
class NVCCustomization;
class NVCCustomizedStrings;
class NVCQUIVENClient;
class NVCRuleManager;
class NVCSettingsPrivilegedClient;
class NVCWaitViewController;
class QAction;
class RulesEditorTableController;

// The spine of the configuration application: the long-lived daemon clients,
// the main window, the first load behind the wait overlay, the lock button
// (the authorization the windows use), the system-ruleset selector, learning
// mode, the rule reload that applies saved rules, and whether it may quit.
class DGPreferencesWindow;

class AppDelegate : public NVCAuthorizationDelegate
{
    Q_OBJECT
public:
    using ReloadCallback = std::function<void(bool success)>;

    AppDelegate(const QDBusConnection &bus, NVCRuleManager *ruleManager, const QStringList &arguments,
                QObject *parent = nullptr);
    ~AppDelegate() override;

    void applicationDidFinishLaunching();
    // True: the application may end now. False: a rule reload decides, and
    // `terminate` follows only if it succeeds.
    bool applicationShouldTerminate();
    // The Quit command and closing the main window.
    void requestTermination();

    bool isAuthorized() override;
    std::optional<QByteArray> externalAuthForm() override;
    void authorize();

    QString messageWithInitialLoad(bool initialLoad) const;
    void showWaitViewWithMessage(const QString &message);
    bool waitViewVisible() const;

    void ruleReloadAction();
    void reloadRulesWithCallback(const ReloadCallback &callback);

    void switchSystemRuleset(QAction *item);
    void learningModeAction();

    // "SHA1" (40 characters), "SHA256" (64) or "Team ID".
    static QString labelForConstraint(const QString &constraint);

    // Opens a new preferences window in place of any earlier one.
    void showPreferences();
    DGPreferencesWindow *preferencesWindow() const { return m_preferencesWindow.get(); }
    // A member of the first existing group of "admin", "sudo" and "wheel".
    static bool isAdminUser();
    // Asks the authority to confirm the user is an administrator, with the
    // product's prompt; `done` runs on `context`'s thread with the answer.
    void performAuthentication(QObject *context, const std::function<void(bool authenticated)> &done);

    RulesEditorTableController *rulesEditorTableController() const
    {
        return m_rulesEditorTableController.get();
    }
    NVCWaitViewController *waitViewController() const { return m_waitViewController; }
    NVCSettingsPrivilegedClient *settingsPrivilegedClient() const { return m_settingsPrivilegedClient.get(); }
    NVCQUIVENClient *quivenClient() const { return m_quivenClient.get(); }

    // How long the first load may take before it counts as failed (the
    // settings daemon may never answer); 60 s unless changed.
    void setLoadTimeout(std::chrono::milliseconds timeout) { m_loadTimeout = timeout; }
    // Fade-in and fade-out of the wait overlay (1.0 s and 2.0 s unless changed).
    void setWaitAnimationDurations(int fadeInMs, int fadeOutMs);

Q_SIGNALS:
    // The application may end now.
    void terminate();
    // A reload alert is on screen (tests and screen readers wait for it).
    void ruleReloadAlertShown(bool success);

private:
    void setupUI();
    void customizeMenuItems();
    void setupSystemRulesetDropdownMenu();
    void loadRules();
    void setWaitViewVisible(bool visible);
    void setupAuthButtonWithAuthState(bool authorized);
    void refreshAuthorizationValidity();
    void doAuthorize();
    void observeSystemSettings(const QVariantMap &settings);
    void setSystemSettings(const QVariantMap &settings);
    void suggestLearningMode();
    void requestRuleReloadWithCallback(const ReloadCallback &callback);
    void notifyRuleReloadFinishWithResult(bool result);
    void showRuleReloadAlertWithErrorMessage(const QString &message);
    void showAbout();
    bool policySaveNoAdmins() const;

    QDBusConnection m_bus;
    NVCRuleManager *m_ruleManager;
    QStringList m_arguments;
    bool m_showPreferences = false;
    mutable QRecursiveMutex m_lock;
    QRecursiveMutex m_ruleReloadRequestsLock;
    QList<ReloadCallback> m_ruleReloadRequests;
    QThreadPool m_ruleLoadingQueue;
    // Settings changes that may wait for the user's authorization.
    QThreadPool m_settingsCallQueue;
    std::unique_ptr<NVCQUIVENClient> m_quivenClient;
    std::shared_ptr<NVCAuthorization> m_authorization;
    std::shared_ptr<const NVCCustomization> m_customization;
    std::unique_ptr<NVCCustomizedStrings> m_customizedStrings;
    std::unique_ptr<NVCSettingsPrivilegedClient> m_settingsPrivilegedClient;
    std::unique_ptr<RulesEditorTableController> m_rulesEditorTableController;
    std::unique_ptr<DGPreferencesWindow> m_preferencesWindow;
    NVCWaitViewController *m_waitViewController = nullptr;
    bool m_waitViewVisible = false;
    AuthorizationRef m_authReference;
    // The authority's last word on m_authReference; asked again in the background.
    bool m_authReferenceValid = false;
    bool m_validityCheckPending = false;
    std::chrono::milliseconds m_loadTimeout{60000};
    int m_fadeInMs = 1000;
    int m_fadeOutMs = 2000;
};
