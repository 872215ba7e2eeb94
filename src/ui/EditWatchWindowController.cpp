#include "EditWatchWindowController.h"

#include "NVCAuthorizationDelegate.h"
#include "NVCEditPolicyUI.h"
#include "NVCRuleManager.h"
#include "RulesDirtyFlag.h"
#include "Utilities.h"
#include "ui_EditWatchWindowController.h"

#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcEditWatchWindowController, "com.norvalis.EditWatchWindowController")

namespace {

const QString kAny = QStringLiteral("any");

} // namespace

EditWatchWindowController::EditWatchWindowController(NVCRuleManager *ruleManager,
                                                     NVCAuthorizationDelegate *authProvider,
                                                     WatchRulePtr watchRule, bool isNewPolicy,
                                                     QWidget *parent)
    : RuleEditorWindow(ruleManager, authProvider, isNewPolicy, parent)
    , ui(std::make_unique<Ui::EditWatchWindowController>())
    , m_watchRule(std::move(watchRule))
{
    ui->setupUi(this);
    windowDidLoad();
}

EditWatchWindowController::~EditWatchWindowController() = default;

void EditWatchWindowController::windowDidLoad()
{
    m_mountSupported = true;
    configureView();
    if (NVCAuthorizationDelegate *provider = authProvider())
        connect(provider, &NVCAuthorizationDelegate::isAuthorizedChanged, this,
                &EditWatchWindowController::updateWatchEditor, Qt::QueuedConnection);
}

void EditWatchWindowController::configureView()
{
    updateWatchEditor();
    if (!m_mountSupported)
        ui->opMountButton->setToolTip(tr("Policies for mount operation are not supported on your system"));

    connect(ui->pathTextField, &QLineEdit::textEdited, this, [this] {
        autoSetWatchType();
        updateUI();
    });
    connect(ui->processNameTextField, &QLineEdit::textEdited, this, [this] {
        setApplicationIcon();
        updateUI();
    });
    connect(ui->anyApplicationCheckbox, &QAbstractButton::clicked, this, [this](bool ticked) {
        NVCEditPolicyUI::updateTextField(ui->processNameTextField, ticked, tr("Any application"),
                                         m_watchRule->processName(), [this] {
                                             updateUI();
                                             setApplicationIcon();
                                         });
    });
    connect(ui->anyPathCheckbox, &QAbstractButton::clicked, this, [this](bool ticked) {
        NVCEditPolicyUI::updateTextField(ui->pathTextField, ticked, tr("Any path"), m_watchRule->path(),
                                         [this] { updateUI(); });
    });
    connect(ui->browsePathButton, &QAbstractButton::clicked, this,
            &EditWatchWindowController::browsePathClicked);
    connect(ui->browseProcessButton, &QAbstractButton::clicked, this,
            &EditWatchWindowController::browseApplicationClicked);
    connect(ui->saveButton, &QAbstractButton::clicked, this, &EditWatchWindowController::saveClicked);
    connect(ui->cancelButton, &QAbstractButton::clicked, this, &EditWatchWindowController::cancelClicked);
}

void EditWatchWindowController::updateWatchEditor()
{
    const WatchRule &rule = *m_watchRule;
    qCDebug(lcEditWatchWindowController).noquote() << "-[EditWatchWindowController updateWatchEditor] path"
                                                   << rule.path() << "process" << rule.processName();
    const auto fill = [](QLineEdit *field, QAbstractButton *anyBox, const QString &text,
                         const QString &anyText) {
        const bool any = text == kAny;
        field->setText(any ? anyText : text);
        anyBox->setChecked(any);
        field->setEnabled(!any);
    };
    fill(ui->processNameTextField, ui->anyApplicationCheckbox, rule.processName(), tr("Any application"));
    fill(ui->pathTextField, ui->anyPathCheckbox, rule.path(), tr("Any path"));
    ui->watchTypePopUp->setCurrentIndex(int(rule.policyType));
    NVCEditPolicyUI::setOperationBoxes(operationBoxes(), rule.operations, m_mountSupported);

    setApplicationIcon();
    const bool editable = !rule.system && isAuthorized();
    ui->saveButton->setVisible(editable);
    ui->saveButton->setText(tr("Save"));
    for (QWidget *control :
         {static_cast<QWidget *>(ui->watchTypePopUp), static_cast<QWidget *>(ui->anyPathCheckbox),
          static_cast<QWidget *>(ui->anyApplicationCheckbox), static_cast<QWidget *>(ui->browsePathButton),
          static_cast<QWidget *>(ui->browseProcessButton), static_cast<QWidget *>(ui->opReadButton),
          static_cast<QWidget *>(ui->opWriteButton), static_cast<QWidget *>(ui->opCreateButton),
          static_cast<QWidget *>(ui->opExecButton)})
        control->setEnabled(editable);
    ui->opMountButton->setEnabled(editable && m_mountSupported);
    ui->pathTextField->setReadOnly(!editable);
    ui->processNameTextField->setReadOnly(!editable);

    setWindowTitle(NVCEditPolicyUI::windowTitleWithIsNewPolicy(isNewPolicy(), true));
    updateUI();
}

bool EditWatchWindowController::isInputValid(bool *pathResult, bool *processResult) const
{
    const QString path = Utilities::expandTilde(ui->pathTextField->text());
    const QString process = Utilities::expandTilde(ui->processNameTextField->text());
    *pathResult = ui->anyPathCheckbox->isChecked() || (!path.isEmpty() && QFileInfo::exists(path));
    *processResult =
        ui->anyApplicationCheckbox->isChecked() || (!process.isEmpty() && QFileInfo::exists(process));
    return *pathResult && *processResult;
}

void EditWatchWindowController::updateUI()
{
    bool pathValid = false, processValid = false;
    isInputValid(&pathValid, &processValid);
    NVCEditPolicyUI::setBorderOf(ui->pathTextField, pathValid);
    NVCEditPolicyUI::setBorderOf(ui->processNameTextField, processValid);
}

void EditWatchWindowController::autoSetWatchType()
{
    NVCEditPolicyUI::autoSetPolicyTypeWithPath(ui->pathTextField->text(), ui->watchTypePopUp);
}

void EditWatchWindowController::setApplicationIcon()
{
    NVCEditPolicyUI::setApplicationIconToView(ui->iconImageView, m_watchRule->processName(),
                                              ui->processNameTextField->text(),
                                              ui->anyApplicationCheckbox->isChecked());
}

void EditWatchWindowController::browsePathClicked()
{
    qCDebug(lcEditWatchWindowController, "-[EditWatchWindowController browsePathClicked:]");
    const QString typed = ui->pathTextField->text();
    const bool noStart = typed.isEmpty() || typed == kAny || ui->anyPathCheckbox->isChecked();
    fileDialog(noStart ? QDir::homePath() : Utilities::expandTilde(typed), [this](const QString &chosen) {
        qCDebug(lcEditWatchWindowController).noquote()
            << "-[EditWatchWindowController browsePathClicked:]: selected path" << chosen;
        ui->pathTextField->setText(Utilities::normalizePath(chosen));
        ui->anyPathCheckbox->setChecked(false);
        ui->pathTextField->setEnabled(true);
        updateUI();
        autoSetWatchType();
    });
}

void EditWatchWindowController::browseApplicationClicked()
{
    qCDebug(lcEditWatchWindowController, "-[EditWatchWindowController browseApplicationClicked:]");
    const QString typed = ui->processNameTextField->text();
    const bool noStart = typed.isEmpty() || ui->anyApplicationCheckbox->isChecked();
    // Where programs live on this platform.
    fileDialog(
        noStart ? QStringLiteral("/usr/bin/") : Utilities::expandTilde(typed), [this](const QString &chosen) {
            qCDebug(lcEditWatchWindowController).noquote()
                << "-[EditWatchWindowController browseApplicationClicked:]: selected app path" << chosen;
            ui->processNameTextField->setText(Utilities::normalizePath(chosen));
            ui->anyApplicationCheckbox->setChecked(false);
            ui->processNameTextField->setEnabled(true);
            setApplicationIcon();
            updateUI();
        });
}

void EditWatchWindowController::saveClicked()
{
    qCDebug(lcEditWatchWindowController, "-[EditWatchWindowController saveClicked:]");
    if (m_watchRule->system) {
        qCDebug(lcEditWatchWindowController, "-[EditWatchWindowController saveClicked:]: Watch rule for "
                                             "system process detected. Canceling saving");
        cancelClicked();
        return;
    }
    WatchRule composed = *m_watchRule;
    composeRule(composed);
    if (refuseUnwritableFields(composed))
        return;
    bool pathValid = false, processValid = false;
    confirmInput(isInputValid(&pathValid, &processValid), [this] {
        addPolicy(QStringLiteral("Adding QUIVEN watch rule"), [this] { handleAddWatchPolicy(); });
    });
}

void EditWatchWindowController::composeRule(WatchRule &rule) const
{
    rule.setProcessName(ui->anyApplicationCheckbox->isChecked()
                            ? kAny
                            : Utilities::normalizePath(ui->processNameTextField->text()));
    rule.setPath(ui->anyPathCheckbox->isChecked() ? kAny
                                                  : Utilities::normalizePath(ui->pathTextField->text()));
    rule.policyType = quint32(ui->watchTypePopUp->currentIndex());
    rule.operations = NVCEditPolicyUI::operationsFromBoxes(operationBoxes());
}

void EditWatchWindowController::handleAddWatchPolicy()
{
    RulesDirtyFlag::set(true);
    m_ruleManager->deleteWatchRule(m_watchRule);
    composeRule(*m_watchRule);
    qCDebug(lcEditWatchWindowController).noquote()
        << "-[EditWatchWindowController handleAddWatchPolicy]: Adding watch rule"
        << m_watchRule->description() << "using manager" << m_ruleManager->description();
    m_ruleManager->addWatchRule(m_watchRule);
    close();
}

void EditWatchWindowController::cancelClicked()
{
    qCDebug(lcEditWatchWindowController, "-[EditWatchWindowController cancelClicked:]");
    close();
}

NVCEditPolicyUI::OperationBoxes EditWatchWindowController::operationBoxes() const
{
    return {ui->opReadButton, ui->opWriteButton, ui->opCreateButton, ui->opMountButton, ui->opExecButton};
}
