#include "EditPolicyWindowController.h"

#include "AppDelegate.h"
#include "NVCAuthorizationDelegate.h"
#include "NVCEditPolicyUI.h"
#include "NVCRuleManager.h"
#include "RulesDirtyFlag.h"
#include "Utilities.h"
#include "ui_EditPolicyWindowController.h"

#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcEditPolicyWindowController, "com.norvalis.EditPolicyWindowController")

namespace {

const QString kAny = QStringLiteral("any");

QString orHome(const QString &typed)
{
    return typed.isEmpty() ? QDir::homePath() : Utilities::expandTilde(typed);
}

} // namespace

EditPolicyWindowController::EditPolicyWindowController(NVCRuleManager *ruleManager,
                                                       NVCAuthorizationDelegate *authProvider,
                                                       PolicyRulePtr policyRule, bool isNewPolicy,
                                                       QWidget *parent)
    : RuleEditorWindow(ruleManager, authProvider, isNewPolicy, parent)
    , ui(std::make_unique<Ui::EditPolicyWindowController>())
    , m_policyRule(std::move(policyRule))
{
    ui->setupUi(this);
    windowDidLoad();
}

EditPolicyWindowController::~EditPolicyWindowController() = default;

void EditPolicyWindowController::windowDidLoad()
{
    m_mountSupported = true;
    configureView();
    // The editor becomes editable (or read-only) as the lock changes elsewhere.
    if (NVCAuthorizationDelegate *provider = authProvider())
        connect(provider, &NVCAuthorizationDelegate::isAuthorizedChanged, this,
                &EditPolicyWindowController::updatePolicyEditor, Qt::QueuedConnection);
}

void EditPolicyWindowController::configureView()
{
    updatePolicyEditor();
    if (!m_mountSupported)
        ui->opMountButton->setToolTip(tr("Policies for mount operation are not supported on your system"));

    connect(ui->pathTextField, &QLineEdit::textEdited, this, [this] {
        autoSetPolicyType();
        updateUI();
    });
    connect(ui->processNameTextField, &QLineEdit::textEdited, this, [this] {
        setApplicationIcon();
        updateUI();
    });
    connect(ui->parentTextField, &QLineEdit::textEdited, this, &EditPolicyWindowController::updateUI);
    connect(ui->constraintTextField, &QLineEdit::textEdited, this, [this] {
        setConstraintLabel();
        updateUI();
    });
    connect(ui->anyApplicationCheckBox, &QAbstractButton::clicked, this, [this](bool ticked) {
        NVCEditPolicyUI::updateTextField(ui->processNameTextField, ticked, tr("Any application"),
                                         NVCEditPolicyUI::getProcess(m_policyRule->processName()), [this] {
                                             updateUI();
                                             setApplicationIcon();
                                         });
    });
    connect(ui->anyParentCheckBox, &QAbstractButton::clicked, this, [this](bool ticked) {
        NVCEditPolicyUI::updateTextField(ui->parentTextField, ticked, tr("Any parent process"),
                                         NVCEditPolicyUI::getParent(m_policyRule->processName()),
                                         [this] { updateUI(); });
    });
    connect(ui->anyPathCheckBox, &QAbstractButton::clicked, this, [this](bool ticked) {
        NVCEditPolicyUI::updateTextField(ui->pathTextField, ticked, tr("Any path"), m_policyRule->path(),
                                         [this] { updateUI(); });
    });
    connect(ui->browsePathButton, &QAbstractButton::clicked, this,
            &EditPolicyWindowController::browsePathClicked);
    connect(ui->browseParentButton, &QAbstractButton::clicked, this,
            &EditPolicyWindowController::browseParentClicked);
    connect(ui->browseProcessButton, &QAbstractButton::clicked, this,
            &EditPolicyWindowController::browseApplicationClicked);
    connect(ui->saveButton, &QAbstractButton::clicked, this, &EditPolicyWindowController::saveClicked);
    connect(ui->cancelButton, &QAbstractButton::clicked, this, &EditPolicyWindowController::cancelClicked);
}

void EditPolicyWindowController::updatePolicyEditor()
{
    const PolicyRule &rule = *m_policyRule;
    qCDebug(lcEditPolicyWindowController).noquote() << "-[EditPolicyWindowController updatePolicyEditor] path"
                                                    << rule.path() << "process" << rule.processName();
    const QString path = rule.path();
    const QString process = NVCEditPolicyUI::getProcess(rule.processName());
    const QString parent = NVCEditPolicyUI::getParent(rule.processName());

    const auto fill = [](QLineEdit *field, QAbstractButton *anyBox, const QString &text,
                         const QString &anyText) {
        const bool any = text == kAny;
        field->setText(any ? anyText : text);
        anyBox->setChecked(any);
        field->setEnabled(!any);
    };
    fill(ui->processNameTextField, ui->anyApplicationCheckBox, process, tr("Any application"));
    fill(ui->parentTextField, ui->anyParentCheckBox, parent, tr("Any parent process"));
    fill(ui->pathTextField, ui->anyPathCheckBox, path, tr("Any path"));
    ui->constraintTextField->setText(rule.constraint());
    ui->policyClassPopUp->setCurrentIndex(int(rule.policyClass));
    ui->policyTypePopUp->setCurrentIndex(int(rule.policyType));

    NVCEditPolicyUI::setOperationBoxes(operationBoxes(), rule.operations, m_mountSupported);

    setApplicationIcon();
    setConstraintLabel();

    const bool editable = !rule.system && isAuthorized();
    ui->saveButton->setVisible(editable);
    ui->saveButton->setText(tr("Save"));
    for (QWidget *control :
         {static_cast<QWidget *>(ui->policyClassPopUp), static_cast<QWidget *>(ui->policyTypePopUp),
          static_cast<QWidget *>(ui->anyPathCheckBox), static_cast<QWidget *>(ui->anyApplicationCheckBox),
          static_cast<QWidget *>(ui->anyParentCheckBox), static_cast<QWidget *>(ui->browsePathButton),
          static_cast<QWidget *>(ui->browseProcessButton), static_cast<QWidget *>(ui->browseParentButton),
          static_cast<QWidget *>(ui->opReadButton), static_cast<QWidget *>(ui->opWriteButton),
          static_cast<QWidget *>(ui->opCreateButton), static_cast<QWidget *>(ui->opExecButton)})
        control->setEnabled(editable);
    ui->opMountButton->setEnabled(editable && m_mountSupported);
    for (QLineEdit *field :
         {ui->pathTextField, ui->processNameTextField, ui->parentTextField, ui->constraintTextField})
        field->setReadOnly(!editable);

    setWindowTitle(NVCEditPolicyUI::windowTitleWithIsNewPolicy(isNewPolicy(), false));
    updateUI();
}

bool EditPolicyWindowController::isInputValid(bool *pathResult, bool *processResult, bool *parentResult) const
{
    const QString path = Utilities::expandTilde(ui->pathTextField->text());
    const QString process = Utilities::expandTilde(ui->processNameTextField->text());
    const QString parent = Utilities::expandTilde(ui->parentTextField->text());
    *pathResult = ui->anyPathCheckBox->isChecked() || (!path.isEmpty() && QFileInfo::exists(path));
    *processResult =
        ui->anyApplicationCheckBox->isChecked() || (!process.isEmpty() && QFileInfo::exists(process));
    *parentResult =
        ui->anyParentCheckBox->isChecked() || parent.isEmpty() || NVCEditPolicyUI::isExecutableAtPath(parent);
    return *pathResult && *processResult && *parentResult;
}

void EditPolicyWindowController::updateUI()
{
    bool pathValid = false, processValid = false, parentValid = false;
    isInputValid(&pathValid, &processValid, &parentValid);
    NVCEditPolicyUI::setBorderOf(ui->pathTextField, pathValid);
    NVCEditPolicyUI::setBorderOf(ui->processNameTextField, processValid);
    NVCEditPolicyUI::setBorderOf(ui->parentTextField, parentValid);
}

void EditPolicyWindowController::autoSetPolicyType()
{
    NVCEditPolicyUI::autoSetPolicyTypeWithPath(ui->pathTextField->text(), ui->policyTypePopUp);
}

void EditPolicyWindowController::setConstraintLabel()
{
    const QString constraint = ui->constraintTextField->text();
    ui->constraintTypeTextField->setText(constraint.isEmpty() ? tr("Constraint")
                                                              : AppDelegate::labelForConstraint(constraint));
}

void EditPolicyWindowController::setApplicationIcon()
{
    NVCEditPolicyUI::setApplicationIconToView(ui->iconImageView, m_policyRule->processName(),
                                              ui->processNameTextField->text(),
                                              ui->anyApplicationCheckBox->isChecked());
}

void EditPolicyWindowController::browsePathClicked()
{
    fileDialog(orHome(ui->pathTextField->text()), [this](const QString &chosen) {
        ui->pathTextField->setText(Utilities::normalizePath(chosen));
        ui->anyPathCheckBox->setChecked(false);
        ui->pathTextField->setEnabled(true);
        updateUI();
        autoSetPolicyType();
    });
}

void EditPolicyWindowController::browseParentClicked()
{
    fileDialog(orHome(ui->parentTextField->text()), [this](const QString &chosen) {
        ui->parentTextField->setText(Utilities::normalizePath(chosen));
        ui->anyParentCheckBox->setChecked(false);
        ui->parentTextField->setEnabled(true);
        updateUI();
    });
}

void EditPolicyWindowController::browseApplicationClicked()
{
    const QString typed = ui->processNameTextField->text();
    // Where programs live on this platform.
    fileDialog(typed.isEmpty() ? QStringLiteral("/usr/bin/") : Utilities::expandTilde(typed),
               [this](const QString &chosen) {
                   ui->processNameTextField->setText(Utilities::normalizePath(chosen));
                   ui->anyApplicationCheckBox->setChecked(false);
                   ui->processNameTextField->setEnabled(true);
                   setApplicationIcon();
                   updateUI();
               });
}

void EditPolicyWindowController::saveClicked()
{
    qCDebug(lcEditPolicyWindowController, "-[EditPolicyWindowController saveClicked:]");
    if (m_policyRule->system) {
        cancelClicked();
        return;
    }
    PolicyRule composed = *m_policyRule;
    composeRule(composed);
    if (refuseUnwritableFields(composed))
        return;
    bool pathValid = false, processValid = false, parentValid = false;
    confirmInput(isInputValid(&pathValid, &processValid, &parentValid), [this] {
        addPolicy(QStringLiteral("Adding QUIVEN user policy"), [this] { handleAddPolicy(); });
    });
}

void EditPolicyWindowController::composeRule(PolicyRule &rule) const
{
    const QString process = ui->anyApplicationCheckBox->isChecked()
                                ? kAny
                                : Utilities::normalizePath(ui->processNameTextField->text());
    const QString parent = Utilities::normalizePath(ui->parentTextField->text());
    QString processName;
    if (ui->anyParentCheckBox->isChecked())
        processName = process + QStringLiteral(" via any");
    else if (m_policyRule->processName().startsWith(QLatin1String("any ancestor ")))
        processName = QStringLiteral("any ancestor %1").arg(parent);
    else if (!parent.isEmpty())
        processName = process + QStringLiteral(" via %1").arg(parent);
    else
        processName = process;

    rule.policyClass = quint32(ui->policyClassPopUp->currentIndex());
    rule.policyType = quint32(ui->policyTypePopUp->currentIndex());
    rule.setPath(ui->anyPathCheckBox->isChecked() ? kAny
                                                  : Utilities::normalizePath(ui->pathTextField->text()));
    rule.setProcessName(processName);
    rule.setConstraint(ui->constraintTextField->text());
    rule.operations = NVCEditPolicyUI::operationsFromBoxes(operationBoxes());
}

void EditPolicyWindowController::handleAddPolicy()
{
    RulesDirtyFlag::set(true);
    // Removed while its fields are still the stored ones; a new rule is simply not found.
    m_ruleManager->deletePolicyRule(m_policyRule);
    composeRule(*m_policyRule);
    m_ruleManager->addPolicyRule(m_policyRule);
    close();
}

void EditPolicyWindowController::cancelClicked()
{
    qCDebug(lcEditPolicyWindowController, "-[EditPolicyWindowController cancelClicked:]");
    close();
}

NVCEditPolicyUI::OperationBoxes EditPolicyWindowController::operationBoxes() const
{
    return {ui->opReadButton, ui->opWriteButton, ui->opCreateButton, ui->opMountButton, ui->opExecButton};
}
