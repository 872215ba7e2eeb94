#include "ImportWindowController.h"
#include "NVCAuthorizationDelegate.h"
#include "NVCCustomizedStrings.h"
#include "NVCEditPolicyUI.h"
#include "NVCRuleManager.h"
#include "ProductFolders.h"
#include "RulesDirtyFlag.h"
#include "RulesEditorTableController.h"
#include "Utilities.h"

#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QMessageBox>

Q_DECLARE_LOGGING_CATEGORY(lcRulesEditorTableController)

namespace {

const QString kPlatformBinaryConstraint = QStringLiteral("APPLE_PF_BINARY");

// Files of the operating system itself, which its package manager vouches for.
bool isSystemProtected(const QString &canonicalPath)
{
    static const QStringList folders{QStringLiteral("/usr/"), QStringLiteral("/bin/"),
                                     QStringLiteral("/sbin/"), QStringLiteral("/etc/")};
    for (const QString &folder : folders) {
        if (canonicalPath.startsWith(folder))
            return true;
    }
    return canonicalPath.startsWith(QLatin1String("/lib")) && canonicalPath.indexOf(u'/', 1) > 0;
}

QString withProductName(QString text, const QString &productName)
{
    return text.replace(QLatin1String("%%QUIVEN_NAME%%"), productName);
}

} // namespace

ImportWindowController *RulesEditorTableController::importWindowController() const
{
    return m_importWindowController;
}

void RulesEditorTableController::importRules()
{
    auto *panel = new QFileDialog(this, tr("Import Files"), QDir::homePath());
    panel->setObjectName(QStringLiteral("importPanel"));
    panel->setFileMode(QFileDialog::ExistingFile);
    panel->setNameFilter(tr("Rule files (*.quiven *.QUIVEN)"));
    panel->setOption(QFileDialog::DontUseNativeDialog);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    connect(panel, &QFileDialog::fileSelected, this, &RulesEditorTableController::handleFileImport);
    panel->open();
}

void RulesEditorTableController::handleFileImport(const QString &path)
{
    qCDebug(lcRulesEditorTableController).noquote() << "Handling import for path" << path;
    if (path.isEmpty())
        return;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qCCritical(lcRulesEditorTableController).noquote()
            << "Error occured while reading the file:" << file.errorString();
        return;
    }
    const QString text = QString::fromUtf8(file.readAll());
    if (m_importWindowController && m_importWindowController->isVisible() &&
        m_importWindowController->fileText() == text) {
        qCDebug(lcRulesEditorTableController,
                "Not showing another import window as there is already one on screen");
        return;
    }
    m_importWindowController = new ImportWindowController(path, text, this, this);
    m_importWindowController->show();
    m_importWindowController->raise();
    m_importWindowController->activateWindow();
}

void RulesEditorTableController::showRulesSuggestionDialogForPath(const QString &path)
{
    if (path == ProductFolders::failsafeFile()) {
        m_currentImportTag = QStringLiteral("");
        const QString productName = m_customizedStrings->quivenName();
        if (QFileInfo::exists(path + QStringLiteral(".strict")))
            displayNotice(
                tr("Unauthorized Access Attempts"),
                withProductName(tr("%%QUIVEN_NAME%% denied the following file access attempts, and has "
                                   "created the following rule suggestions. If you have recently added "
                                   "new software, you may need to import these rules to allow it to "
                                   "operate correctly. Please review these rules, then click Import if "
                                   "you wish to add them."),
                                productName),
                m_importWindowController);
        else
            displayNotice(
                tr("New Rule Suggestions"),
                withProductName(tr("%%QUIVEN_NAME%% detected new software attempting to run, and has "
                                   "created the following rule suggestions. Please review these rules, "
                                   "then click Import if you wish to add them."),
                                productName),
                m_importWindowController);
        return;
    }
    QString name = QFileInfo(path).fileName();
    name.remove(QStringLiteral(".quiven"));
    m_currentImportTag = name.section(u',', 0, 0);
}

void RulesEditorTableController::importPolicies(const QList<PolicyRulePtr> &policies,
                                                const QList<WatchRulePtr> &watchRules)
{
    performWithAuthorization(QStringLiteral("Importing QUIVEN user policies"),
                             [this, policies, watchRules](const QByteArray &authForm, OSStatus status,
                                                          const Finalizer &finalizer) {
                                 const int imported =
                                     doImportPolicies(policies, watchRules, authForm, status, finalizer);
                                 const int total = int(policies.size() + watchRules.size());
                                 finishImportWith(imported > 0);
                                 displayImportDoneNoticeWithImportedRules(imported, total);
                                 Q_EMIT importFinished(imported, total);
                             });
}

int RulesEditorTableController::doImportPolicies(const QList<PolicyRulePtr> &policies,
                                                 const QList<WatchRulePtr> &watchRules,
                                                 const QByteArray &authForm, OSStatus status,
                                                 const Finalizer &finalizer)
{
    int imported = 0;
    {
        QMutexLocker locker(&m_ruleManager->lock());
        for (const PolicyRulePtr &rule : policies)
            imported += doImportPolicy(rule) ? 1 : 0;
        for (const WatchRulePtr &rule : watchRules)
            imported += doImportWatchRule(rule) ? 1 : 0;
    }
    if (imported == 0) {
        // Nothing to send: the authorization is let go at once.
        if (finalizer)
            finalizer();
        return 0;
    }
    m_ruleManager->rebuildRulesCache();
    RulesDirtyFlag::set(true);
    m_internalWrite = true;
    writeUserRules(authForm, status, finalizer);
    return imported;
}

bool RulesEditorTableController::doImportPolicy(const PolicyRulePtr &rule)
{
    if (rule->tag().isEmpty())
        rule->setTag(m_currentImportTag);
    if (rule->constraint().isEmpty()) {
        const QString derived = constraintForApplicationOfRule(*rule);
        if (!derived.isNull())
            rule->setConstraint(derived);
    }
    rule->setPath(Utilities::normalizePath(rule->path()));
    rule->setProcessName(Utilities::normalizePath(rule->processName()));
    if (!m_ruleManager->validateRule(*rule))
        return false;
    for (const PolicyRulePtr &existing : m_ruleManager->policyRules()) {
        if (existing->isEqualTo(*rule))
            return false;
    }
    return m_ruleManager->addPolicyRule(rule, false);
}

bool RulesEditorTableController::doImportWatchRule(const WatchRulePtr &rule)
{
    if (rule->tag().isEmpty())
        rule->setTag(m_currentImportTag);
    rule->setPath(Utilities::normalizePath(rule->path()));
    rule->setProcessName(Utilities::normalizePath(rule->processName()));
    if (!m_ruleManager->validateRule(*rule))
        return false;
    for (const WatchRulePtr &existing : m_ruleManager->watchRules()) {
        if (existing->isEqualTo(*rule))
            return false;
    }
    return m_ruleManager->addWatchRule(rule, false);
}

QString RulesEditorTableController::constraintForApplicationOfRule(const NVCRuleBase &rule) const
{
    QString application = RuleManager::applicationPathForRule(rule);
    if (application == QLatin1String("any"))
        application = RuleManager::applicationParentPathForRule(rule);
    const QFileInfo file(application);
    if (application.isEmpty() || !file.isFile())
        return QString();
    const QString team = m_codeSignInfoProvider.teamIdentifier(application);
    if (!team.isEmpty())
        return team;
    if (m_codeSignInfoProvider.isPlatformBinary(application))
        return kPlatformBinaryConstraint;
    if (isSystemProtected(file.canonicalFilePath()))
        return QString();
    return NVCEditPolicyUI::sha256(application);
}

void RulesEditorTableController::displayImportDoneNoticeWithImportedRules(int imported, int total)
{
    QString message;
    if (imported == 0)
        message =
            tr("No rules have been imported. The selected rules are either already present in the ruleset "
               "or are invalid.");
    else if (imported < total)
        message =
            tr("Successfully imported %%IMPORTED_NUMBER%% out of %%TOTAL_NUMBER%% rule(s). Some rules are "
               "already present in the ruleset or are invalid.")
                .replace(QLatin1String("%%IMPORTED_NUMBER%%"), QString::number(imported))
                .replace(QLatin1String("%%TOTAL_NUMBER%%"), QString::number(total));
    else
        message = tr("All rules have been successfully imported.");
    displayNotice(tr("Import complete"), message);
}

void RulesEditorTableController::finishImport()
{
    finishImportWith(false);
}

void RulesEditorTableController::finishImportWith(bool imported)
{
    NVCQUIVENClient *client = m_ruleManager->quivenClient();
    if (!imported)
        client->reloadSystemRules();
    client->deleteFailsafeLog();
    // The daemon's rewrite of the user's file that follows is this window's own doing.
    m_internalWrite = true;
}

void RulesEditorTableController::displayNotice(const QString &title, const QString &message, QWidget *over)
{
    auto *notice = new QMessageBox(QMessageBox::Warning, m_customizedStrings->quivenName(), title,
                                   QMessageBox::Ok, over ? over : this);
    notice->setInformativeText(message);
    notice->setAttribute(Qt::WA_DeleteOnClose);
    notice->setWindowModality(Qt::WindowModal);
    notice->open();
}
