#include "RuleEditorWindow.h"

#include "NVCActivity.h"
#include "NVCAuthorizationDelegate.h"
#include "NVCEditPolicyUI.h"
#include "NVCRuleManager.h"
#include "RuleFieldCheck.h"

#include <QCloseEvent>
#include <QFileDialog>
#include <QMessageBox>

RuleEditorWindow::RuleEditorWindow(NVCRuleManager *ruleManager, NVCAuthorizationDelegate *authProvider,
                                   bool isNewPolicy, QWidget *parent)
    : QDialog(parent)
    , m_ruleManager(ruleManager)
    , m_authProvider(authProvider)
    , m_isNewPolicy(isNewPolicy)
{
    setAttribute(Qt::WA_DeleteOnClose);
}

void RuleEditorWindow::reject()
{
    close();
}

void RuleEditorWindow::closeEvent(QCloseEvent *event)
{
    // Closing dismisses the editor; the dialog's own handling would only hide it.
    event->accept();
}

bool RuleEditorWindow::isAuthorized() const
{
    return m_authProvider && m_authProvider->isAuthorized();
}

void RuleEditorWindow::fileDialog(const QString &startFolder,
                                  const std::function<void(const QString &path)> &chosen)
{
    auto *panel = new QFileDialog(this, tr("Use Path"), startFolder);
    panel->setObjectName(QStringLiteral("usePathPanel"));
    // Files and folders alike: a folder is chosen by its name.
    panel->setFileMode(QFileDialog::AnyFile);
    panel->setOption(QFileDialog::DontUseNativeDialog);
    panel->setOption(QFileDialog::DontConfirmOverwrite);
    panel->setLabelText(QFileDialog::Accept, tr("Use Path"));
    panel->setAttribute(Qt::WA_DeleteOnClose);
    connect(panel, &QFileDialog::fileSelected, this, chosen);
    panel->open();
}

void RuleEditorWindow::confirmInput(bool valid, const std::function<void()> &proceed)
{
    if (valid) {
        proceed();
        return;
    }
    QPointer<RuleEditorWindow> self(this);
    NVCEditPolicyUI::showInvalidInputWarning(this, [self, proceed](bool goOn) {
        if (self && goOn)
            proceed();
    });
}

bool RuleEditorWindow::refuseUnwritableFields(const NVCRuleBase &composed)
{
    const std::optional<RuleField> field = unwritableRuleField(composed);
    if (!field)
        return false;
    const QString names[] = {tr("path"), tr("process"), tr("tag"), tr("constraint")};
    auto *warning =
        new QMessageBox(QMessageBox::Warning, tr("Invalid input"),
                        tr("The %1 cannot be saved: it holds a line break or a double quote, which "
                           "a rule file cannot keep.")
                            .arg(names[int(*field)]),
                        QMessageBox::Ok, this);
    warning->setObjectName(QStringLiteral("unwritableFieldWarning"));
    warning->setAttribute(Qt::WA_DeleteOnClose);
    warning->setWindowModality(Qt::WindowModal);
    warning->open();
    return true;
}

void RuleEditorWindow::addPolicy(const QString &activity, const std::function<void()> &handleAdd)
{
    // The activity lasts until the rule is handed to the daemon, prompt included.
    auto running = std::make_shared<NVCActivity>(activity);
    if (const std::optional<QByteArray> authForm =
            m_authProvider ? m_authProvider->externalAuthForm() : std::optional<QByteArray>()) {
        doSavePolicyWithAuthForm(*authForm, errAuthorizationSuccess, {}, handleAdd);
        return;
    }
    // The answer comes back on the manager's (the GUI) thread; the window stays usable meanwhile.
    QPointer<RuleEditorWindow> self(this);
    m_ruleManager->authorizeWithCallback(
        [self, running, handleAdd](const QByteArray &authForm, OSStatus status, const Finalizer &finalizer) {
            if (self && status == errAuthorizationSuccess)
                self->doSavePolicyWithAuthForm(authForm, status, finalizer, handleAdd);
            else if (self)
                Q_EMIT self->saveFinished(false);
        });
}

void RuleEditorWindow::doSavePolicyWithAuthForm(const QByteArray &authForm, OSStatus status,
                                                const Finalizer &finalizer,
                                                const std::function<void()> &handleAdd)
{
    handleAdd();
    m_ruleManager->writeToCurrentUserConfigurationWithAuthForm(authForm, status, finalizer);
    Q_EMIT saveFinished(true);
}
