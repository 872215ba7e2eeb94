#include "AppDelegate.h"

#include "DGPreferencesWindow.h"
#include "NVCAuthorization.h"
#include "NVCCustomization.h"
#include "NVCCustomizedStrings.h"
#include "NVCQUIVENClient.h"
#include "NVCRuleManager.h"
#include "NVCSettingsClient.h"
#include "NVCSettingsPrivilegedClient.h"
#include "NVCWaitView.h"
#include "NVCWaitViewController.h"
#include "RulesDirtyFlag.h"
#include "RulesEditorTableController.h"

#include <QAction>
#include <QCoreApplication>
#include <QLoggingCategory>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QSemaphore>

Q_LOGGING_CATEGORY(lcAppDelegate, "com.norvalis.AppDelegate")

namespace {

QString withProductName(QString text, const QString &productName)
{
    return text.replace(QLatin1String("%%QUIVEN_NAME%%"), productName);
}

} // namespace

AppDelegate::AppDelegate(const QDBusConnection &bus, NVCRuleManager *ruleManager,
                         const QStringList &arguments, QObject *parent)
    : NVCAuthorizationDelegate(parent)
    , m_bus(bus)
    , m_ruleManager(ruleManager)
    , m_arguments(arguments)
{
    m_ruleLoadingQueue.setObjectName(QStringLiteral("com.norvalis.QUIVENConfiguration.RuleLoading.queue"));
    m_ruleLoadingQueue.setMaxThreadCount(1);
    m_quivenClient = std::make_unique<NVCQUIVENClient>(bus);
    m_authorization = std::make_shared<NVCAuthorization>(bus);
    m_customization = std::make_shared<NVCCustomization>();
    m_customizedStrings = std::make_unique<NVCCustomizedStrings>(m_customization);
    const QString prompt = m_customizedStrings->customizedAuthorizationMessageWithApplicationName(
        m_customizedStrings->quivenName());
    m_settingsPrivilegedClient =
        NVCSettingsClient::createPrivilegedClientWithCustomizedAuthMessage(bus, prompt);
    m_rulesEditorTableController = std::make_unique<RulesEditorTableController>(ruleManager);
}

AppDelegate::~AppDelegate()
{
    // A load still waiting for the daemons must not outlive the objects it reports to.
    m_ruleLoadingQueue.waitForDone();
    m_settingsCallQueue.waitForDone();
    if (m_authReference)
        m_authorization->destroyAsync(&m_authReference);
}

void AppDelegate::applicationDidFinishLaunching()
{
    setupUI();
    showWaitViewWithMessage(messageWithInitialLoad(true));
    QPointer<AppDelegate> self(this);
    m_ruleLoadingQueue.start([self] {
        if (self)
            self->loadRules();
    });
}

void AppDelegate::setupUI()
{
    RulesEditorTableController *window = m_rulesEditorTableController.get();
    window->setAuthProvider(this);
    connect(m_settingsPrivilegedClient.get(), &NVCSettingsClient::systemSettingsChanged, this,
            &AppDelegate::observeSystemSettings);
    observeSystemSettings(m_settingsPrivilegedClient->systemSettings());
    m_settingsPrivilegedClient->startListeners();
    connect(window->preferencesMenuItem(), &QAction::triggered, this, &AppDelegate::showPreferences);

    for (const QString &argument : std::as_const(m_arguments)) {
        if (argument == QLatin1String("-settings") || argument == QLatin1String("--settings")) {
            m_showPreferences = true;
            window->hide();
            showPreferences();
        }
    }
    if (!m_showPreferences)
        window->show();

    connect(window->authorizationButton(), &QAbstractButton::clicked, this, &AppDelegate::authorize);
    connect(window->menuItemLearningMode(), &QAction::triggered, this, &AppDelegate::learningModeAction);
    connect(window->ruleReloadMenuItem(), &QAction::triggered, this, &AppDelegate::ruleReloadAction);
    connect(window->rulesetMenu(), &QMenu::triggered, this, &AppDelegate::switchSystemRuleset);
    connect(window->menuItemQuit(), &QAction::triggered, this, &AppDelegate::requestTermination);
    connect(window->menuItemHide(), &QAction::triggered, window, &QWidget::showMinimized);
    connect(window->menuItemAbout(), &QAction::triggered, this, &AppDelegate::showAbout);
    connect(window, &RulesEditorTableController::windowWillClose, this, [this] {
        // The window cannot be closed while rules are being loaded or applied.
        if (!waitViewVisible())
            requestTermination();
    });

    setupAuthButtonWithAuthState(isAuthorized());
    customizeMenuItems();
    setupSystemRulesetDropdownMenu();
}

void AppDelegate::customizeMenuItems()
{
    RulesEditorTableController *window = m_rulesEditorTableController.get();
    const QString applicationTitle =
        withProductName(tr("%%QUIVEN_NAME%% Configuration"), m_customizedStrings->quivenName());
    window->applicationMenu()->setTitle(applicationTitle);
    window->menuItemAbout()->setText(
        tr("About %%QUIVEN_CONFIGURATION%%")
            .replace(QLatin1String("%%QUIVEN_CONFIGURATION%%"), applicationTitle));
    window->menuItemHide()->setText(
        tr("Hide %%QUIVEN_CONFIGURATION%%")
            .replace(QLatin1String("%%QUIVEN_CONFIGURATION%%"), applicationTitle));
}

void AppDelegate::showAbout()
{
    QMessageBox::about(
        m_rulesEditorTableController.get(), m_rulesEditorTableController->applicationMenu()->title(),
        withProductName(tr("%%QUIVEN_NAME%% Configuration %1").arg(QCoreApplication::applicationVersion()),
                        m_customizedStrings->quivenName()));
}

QString AppDelegate::messageWithInitialLoad(bool initialLoad) const
{
    return withProductName(initialLoad ? tr("Please wait while %%QUIVEN_NAME%% rules are being loaded")
                                       : tr("Please wait while %%QUIVEN_NAME%% rules are being applied"),
                           m_customizedStrings->quivenName());
}

void AppDelegate::loadRules()
{
    // Runs on the rule-loading queue. The manager answers on its own thread,
    // or never when the settings daemon fails: the wait here is bounded.
    QSemaphore loaded;
    m_ruleManager->reloadCurrentUserConfigurationWithCallback([&loaded](bool) { loaded.release(); });
    QString errorMessage;
    if (!loaded.tryAcquire(1, int(m_loadTimeout.count())))
        errorMessage = tr("The filter and settings daemons did not deliver the rules in time.");
    else
        errorMessage = m_ruleManager->lastErrorMessage();
    m_waitViewController->hideWithCallback([this, errorMessage] {
        setWaitViewVisible(false);
        if (errorMessage.isEmpty()) {
            notifyRuleReloadFinishWithResult(errorMessage.isNull());
            return;
        }
        qCCritical(lcAppDelegate).noquote() << "Rule loading error on load:" << errorMessage;
        showRuleReloadAlertWithErrorMessage(errorMessage);
    });
}

void AppDelegate::showWaitViewWithMessage(const QString &message)
{
    QMutexLocker locker(&m_lock);
    setWaitViewVisible(true);
    if (!m_waitViewController) {
        qCDebug(lcAppDelegate, "Creating new waitViewController");
        m_waitViewController = new NVCWaitViewController(this);
        m_waitViewController->setAnimationDurations(m_fadeInMs, m_fadeOutMs);
    }
    m_waitViewController->configureViewForLocalizedMessage(message);
    m_waitViewController->view()->cover(m_rulesEditorTableController->rootView());
}

void AppDelegate::setWaitAnimationDurations(int fadeInMs, int fadeOutMs)
{
    m_fadeInMs = fadeInMs;
    m_fadeOutMs = fadeOutMs;
    if (m_waitViewController)
        m_waitViewController->setAnimationDurations(fadeInMs, fadeOutMs);
}

void AppDelegate::setWaitViewVisible(bool visible)
{
    QMutexLocker locker(&m_lock);
    m_waitViewVisible = visible;
}

bool AppDelegate::waitViewVisible() const
{
    QMutexLocker locker(&m_lock);
    return m_waitViewVisible;
}

void AppDelegate::ruleReloadAction()
{
    reloadRulesWithCallback({});
}

void AppDelegate::reloadRulesWithCallback(const ReloadCallback &callback)
{
    QMutexLocker locker(&m_lock);
    if (callback) {
        QMutexLocker requestsLocker(&m_ruleReloadRequestsLock);
        m_ruleReloadRequests.append(callback);
    }
    if (m_waitViewVisible) {
        qCCritical(lcAppDelegate, "Ignoring rule reload request. Already waiting for it to finish");
        return;
    }
    if (!m_quivenClient->isConnected()) {
        showRuleReloadAlertWithErrorMessage(tr("Rules were not reloaded"));
        return;
    }
    showWaitViewWithMessage(messageWithInitialLoad(false));
    QPointer<AppDelegate> self(this);
    requestRuleReloadWithCallback([self](bool success) {
        if (!self)
            return;
        if (success) {
            qCInfo(lcAppDelegate, "Clearing dirty flag");
            RulesDirtyFlag::set(false);
        } else {
            qCCritical(lcAppDelegate, "Not clearing dirty flag");
        }
        self->m_waitViewController->hideWithCallback([self, success] {
            if (!self)
                return;
            self->setWaitViewVisible(false);
            self->showRuleReloadAlertWithErrorMessage(success ? QString() : tr("Rules were not reloaded"));
        });
    });
}

void AppDelegate::requestRuleReloadWithCallback(const ReloadCallback &callback)
{
    qCInfo(lcAppDelegate, "Requesting system rule reload");
    m_quivenClient->reloadSystemRulesWithCallback(callback);
}

void AppDelegate::showRuleReloadAlertWithErrorMessage(const QString &message)
{
    qCDebug(lcAppDelegate).noquote() << "Showing reload alert with errorMessage" << message;
    const QString productName = m_customizedStrings->quivenName();
    const bool success = message.isNull();
    auto *alert = new QMessageBox(m_rulesEditorTableController.get());
    alert->setWindowTitle(productName);
    alert->setStandardButtons(QMessageBox::Ok);
    if (success) {
        alert->setIcon(QMessageBox::Information);
        alert->setText(tr("Rules reloaded"));
        alert->setInformativeText(withProductName(
            tr("%%QUIVEN_NAME%% rules have been successfully reloaded and applied"), productName));
    } else {
        alert->setIcon(QMessageBox::Warning);
        alert->setText(withProductName(tr("Failed to reload %%QUIVEN_NAME%% rules"), productName));
        alert->setInformativeText(message);
    }
    alert->setWindowModality(Qt::WindowModal);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    connect(alert, &QMessageBox::finished, this, [this, success](int code) {
        qCDebug(lcAppDelegate, "Dialog finished with code %d", code);
        notifyRuleReloadFinishWithResult(success);
    });
    alert->open();
    Q_EMIT ruleReloadAlertShown(success);
}

void AppDelegate::notifyRuleReloadFinishWithResult(bool result)
{
    QList<ReloadCallback> callbacks;
    {
        QMutexLocker locker(&m_ruleReloadRequestsLock);
        callbacks.swap(m_ruleReloadRequests);
    }
    for (const ReloadCallback &callback : std::as_const(callbacks))
        callback(result);
}

bool AppDelegate::applicationShouldTerminate()
{
    if (!RulesDirtyFlag::isSet() && !waitViewVisible())
        return true;
    qCInfo(lcAppDelegate, "Requesting system rule reload before allowing quit");
    QPointer<AppDelegate> self(this);
    reloadRulesWithCallback([self](bool success) {
        qCInfo(lcAppDelegate, "Rule reload callback: success=%d", success);
        if (self && success)
            QMetaObject::invokeMethod(self.data(), &AppDelegate::terminate, Qt::QueuedConnection);
    });
    return false;
}

void AppDelegate::requestTermination()
{
    if (applicationShouldTerminate())
        Q_EMIT terminate();
}

QString AppDelegate::labelForConstraint(const QString &constraint)
{
    if (constraint.size() == 40)
        return QStringLiteral("SHA1");
    if (constraint.size() == 64)
        return QStringLiteral("SHA256");
    return tr("Team ID");
}
