#include "AppDelegate.h"
#include "NVCCustomizedStrings.h"
#include "NVCSettingsClient.h"
#include "NVCSettingsPrivilegedClient.h"
#include "ProductFolders.h"
#include "RulesEditorTableController.h"

#include <QAction>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QThreadPool>
#include <QToolButton>

Q_DECLARE_LOGGING_CATEGORY(lcAppDelegate)

namespace {

qint64 rulesetInUse(const QVariantMap &settings)
{
    return settings.value(QString::fromLatin1(NVCSettingsClient::rulesetInUseKey)).toLongLong();
}

bool learningMode(const QVariantMap &settings)
{
    return settings.value(QString::fromLatin1(NVCSettingsClient::learningModeKey)).toBool();
}

} // namespace

void AppDelegate::observeSystemSettings(const QVariantMap &settings)
{
    // Empty until the settings daemon first answers.
    if (settings.isEmpty())
        return;
    const bool learning = learningMode(settings);
    m_rulesEditorTableController->menuItemLearningMode()->setChecked(learning);
    const bool exists = QFileInfo::exists(ProductFolders::failsafeFile());
    qCDebug(lcAppDelegate, "considering failsafe.rc import. exists? %d learning mode? %d", exists, learning);
    if (exists && !learning)
        QMetaObject::invokeMethod(
            this, [this] { m_rulesEditorTableController->handleFileImport(ProductFolders::failsafeFile()); },
            Qt::QueuedConnection);
    QMetaObject::invokeMethod(
        this, [this] { isAuthorized(); }, Qt::QueuedConnection);
}

void AppDelegate::setupSystemRulesetDropdownMenu()
{
    m_rulesEditorTableController->rulesetSegmentedControl()->setEnabled(false);
    QPointer<AppDelegate> self(this);
    m_settingsPrivilegedClient->getSystemSettingsWithReply(
        [self](const QVariantMap &settings, const QDBusError &error) {
            if (!self)
                return;
            if (error.isValid()) {
                qCCritical(lcAppDelegate).noquote()
                    << "Error happened when getting system settings:" << error.message();
                return;
            }
            self->setSystemSettings(settings);
        });
}

void AppDelegate::setSystemSettings(const QVariantMap &settings)
{
    const qint64 index = rulesetInUse(settings);
    QToolButton *control = m_rulesEditorTableController->rulesetSegmentedControl();
    const QList<QAction *> items = m_rulesEditorTableController->rulesetMenu()->actions();
    if (index >= 0 && index < items.size())
        control->setText(items.at(index)->text());
    control->setEnabled(true);
}

void AppDelegate::switchSystemRuleset(QAction *item)
{
    const qint64 wanted = item->data().toLongLong();
    const QVariantMap settings = m_settingsPrivilegedClient->systemSettings();
    if (wanted == rulesetInUse(settings)) {
        qCDebug(lcAppDelegate, "Selected the same ruleset as the one in use. Not proceeding with switching");
        return;
    }
    if (wanted != 0 && !learningMode(settings))
        suggestLearningMode();

    // Without an authorization form the client asks the user itself, which
    // waits for the prompt: that happens on a pool thread.
    QPointer<AppDelegate> self(this);
    const QString title = item->text();
    const std::optional<QByteArray> authForm = externalAuthForm();
    NVCSettingsPrivilegedClient *client = m_settingsPrivilegedClient.get();
    m_settingsCallQueue.start([self, client, wanted, authForm, title] {
        client->setQUIVENSystemRuleSet(quint64(wanted), authForm, [self, title](const QDBusError &error) {
            if (!self)
                return;
            if (error.isValid()) {
                qCCritical(lcAppDelegate).noquote()
                    << "Error happened when applying ruleset:" << error.message();
                return;
            }
            QMetaObject::invokeMethod(
                self.data(),
                [self, title] {
                    self->m_rulesEditorTableController->rulesetSegmentedControl()->setText(title);
                    self->m_rulesEditorTableController->reloadTableView();
                },
                Qt::QueuedConnection);
        });
    });
}

void AppDelegate::suggestLearningMode()
{
    QMessageBox question(m_rulesEditorTableController.get());
    question.setWindowTitle(m_customizedStrings->quivenName());
    question.setText(tr("Enable Learning Mode?"));
    question.setInformativeText(
        tr("%%QUIVEN_NAME%% can automatically learn about software you use to create a "
           "ruleset tailored for your specific computer. Do you want to enable Learning "
           "Mode now?")
            .replace(QLatin1String("%%QUIVEN_NAME%%"), m_customizedStrings->quivenName()));
    QPushButton *enable = question.addButton(tr("Enable Learning Mode"), QMessageBox::AcceptRole);
    question.addButton(tr("Don't enable Learning Mode"), QMessageBox::RejectRole);
    question.exec();
    if (question.clickedButton() != enable)
        return;
    const std::optional<QByteArray> authForm = externalAuthForm();
    NVCSettingsPrivilegedClient *client = m_settingsPrivilegedClient.get();
    m_settingsCallQueue.start([client, authForm] {
        client->setQUIVENLearningMode(true, authForm, [](const QDBusError &error) {
            if (error.isValid())
                qCCritical(lcAppDelegate).noquote() << "Error enabling learning mode:" << error.message();
        });
    });
}

void AppDelegate::learningModeAction()
{
    const bool current = learningMode(m_settingsPrivilegedClient->systemSettings());
    // The check mark follows the daemon's next settings change, not the click.
    m_rulesEditorTableController->menuItemLearningMode()->setChecked(current);
    qCInfo(lcAppDelegate, "Will toggle learning mode from %d to %d", current, !current);
    const std::optional<QByteArray> authForm = externalAuthForm();
    NVCSettingsPrivilegedClient *client = m_settingsPrivilegedClient.get();
    m_settingsCallQueue.start([client, authForm, current] {
        client->setQUIVENLearningMode(!current, authForm, [current](const QDBusError &error) {
            if (error.isValid())
                qCCritical(lcAppDelegate).noquote() << "Error toggling learning mode:" << error.message();
            else
                qCInfo(lcAppDelegate, "Toggled learning mode state to %d", !current);
        });
    });
}
