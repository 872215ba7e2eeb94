#include "EditPolicyWindowController.h"
#include "EditWatchWindowController.h"
#include "NVCAuthorizationDelegate.h"
#include "NVCRuleManager.h"
#include "RulesEditorTableController.h"
#include "RulesTableModel.h"
#include "ui_RulesEditorTableController.h"

#include <QLoggingCategory>
#include <QMenu>

Q_DECLARE_LOGGING_CATEGORY(lcRulesEditorTableController)

namespace {

constexpr quint32 kReadWriteCreate = 7;

// Shows `window` in the middle of `over` and in front of it.
void centreAndRaise(QWidget *window, const QWidget *over)
{
    window->move(over->geometry().center() - window->rect().center());
    window->show();
    window->raise();
    window->activateWindow();
}

} // namespace

void RulesEditorTableController::setupEditorActions()
{
    m_newRuleMenuItem = new QAction(tr("New Rule…"), m_contextMenu);
    m_editRuleMenuItem = new QAction(tr("Edit"), m_contextMenu);
    m_contextMenu->insertAction(m_deleteRuleMenuItem, m_newRuleMenuItem);
    m_contextMenu->insertAction(m_deleteRuleMenuItem, m_editRuleMenuItem);
    connect(m_newRuleMenuItem, &QAction::triggered, this, &RulesEditorTableController::createNewPolicy);
    connect(m_editRuleMenuItem, &QAction::triggered, this, &RulesEditorTableController::editRule);

    connect(ui->importToolbarItem, &QAction::triggered, this, &RulesEditorTableController::importRules);
    connect(ui->addNewPolicyRuleToolbarItem, &QAction::triggered, this,
            &RulesEditorTableController::newPolicyRule);
    connect(ui->addNewWatchRuleToolbarItem, &QAction::triggered, this,
            &RulesEditorTableController::newWatchRule);
    connect(ui->editRuleToolbarItem, &QAction::triggered, this, [this] {
        // The toolbar acts on the selection, never on a row clicked for the menu earlier.
        m_clickedRow = -1;
        editRule();
    });
    connect(ui->rulesEditorTableView, &QAbstractItemView::doubleClicked, this,
            &RulesEditorTableController::doubleClickAction);
}

QAction *RulesEditorTableController::importToolbarItem() const
{
    return ui->importToolbarItem;
}

QAction *RulesEditorTableController::addNewPolicyRuleToolbarItem() const
{
    return ui->addNewPolicyRuleToolbarItem;
}

QAction *RulesEditorTableController::addNewWatchRuleToolbarItem() const
{
    return ui->addNewWatchRuleToolbarItem;
}

QAction *RulesEditorTableController::editRuleToolbarItem() const
{
    return ui->editRuleToolbarItem;
}

EditPolicyWindowController *RulesEditorTableController::editPolicyWindowController() const
{
    return m_editPolicyWindowController;
}

EditWatchWindowController *RulesEditorTableController::editWatchWindowController() const
{
    return m_editWatchWindowController;
}

void RulesEditorTableController::newPolicyRule()
{
    createAndEditPolicyRuleWithProcessName(QString(), QString());
}

void RulesEditorTableController::newWatchRule()
{
    createAndEditWatchRuleWithProcessName(QString());
}

void RulesEditorTableController::createNewPolicy()
{
    const RuleBasePtr rule = clickedRule();
    if (const auto policy = std::dynamic_pointer_cast<PolicyRule>(rule)) {
        qCDebug(lcRulesEditorTableController).noquote() << "Processing PolicyRule" << policy->description();
        createAndEditPolicyRuleWithProcessName(policy->processName(), policy->constraint());
    } else if (const auto watch = std::dynamic_pointer_cast<WatchRule>(rule)) {
        qCDebug(lcRulesEditorTableController).noquote() << "Processing WatchRule" << watch->description();
        createAndEditWatchRuleWithProcessName(watch->processName());
    } else {
        createAndEditPolicyRuleWithProcessName(QString(), QString());
    }
}

void RulesEditorTableController::createAndEditPolicyRuleWithProcessName(const QString &processName,
                                                                        const QString &constraint)
{
    auto rule = std::make_shared<PolicyRule>();
    rule->policyClass = 0;
    rule->policyType = 0;
    rule->setPath(QStringLiteral(""));
    rule->setProcessName(processName);
    rule->operations = kReadWriteCreate;
    rule->setConstraint(constraint);
    editPolicy(rule, true);
}

void RulesEditorTableController::createAndEditWatchRuleWithProcessName(const QString &processName)
{
    auto rule = std::make_shared<WatchRule>();
    rule->policyClass = 2;
    rule->policyType = 0;
    rule->setPath(QStringLiteral(""));
    rule->setProcessName(processName);
    rule->operations = kReadWriteCreate;
    editWatch(rule, true);
}

void RulesEditorTableController::editRule()
{
    const QList<int> rows = selectedRows();
    const int row = m_clickedRow >= 0 ? m_clickedRow : (rows.isEmpty() ? -1 : rows.first());
    const RuleBasePtr rule = m_model->ruleAtRow(row);
    if (const auto policy = std::dynamic_pointer_cast<PolicyRule>(rule))
        editPolicy(policy);
    else if (const auto watch = std::dynamic_pointer_cast<WatchRule>(rule))
        editWatch(watch);
}

void RulesEditorTableController::doubleClickAction()
{
    const QList<int> rows = selectedRows();
    if (rows.size() != 1)
        return;
    const RuleBasePtr rule = m_model->ruleAtRow(rows.first());
    if (const auto policy = std::dynamic_pointer_cast<PolicyRule>(rule))
        editPolicy(policy);
    else if (const auto watch = std::dynamic_pointer_cast<WatchRule>(rule))
        editWatch(watch);
}

void RulesEditorTableController::editPolicy(const PolicyRulePtr &rule, bool isNewPolicy)
{
    // One editor at a time: an open one comes to the front and keeps its rule.
    if (m_editPolicyWindowController && m_editPolicyWindowController->isVisible()) {
        centreAndRaise(m_editPolicyWindowController, this);
        return;
    }
    m_editPolicyWindowController =
        new EditPolicyWindowController(m_ruleManager, m_authProvider, rule, isNewPolicy, this);
    centreAndRaise(m_editPolicyWindowController, this);
}

void RulesEditorTableController::editWatch(const WatchRulePtr &rule, bool isNewPolicy)
{
    if (m_editWatchWindowController && m_editWatchWindowController->isVisible()) {
        centreAndRaise(m_editWatchWindowController, this);
        return;
    }
    m_editWatchWindowController =
        new EditWatchWindowController(m_ruleManager, m_authProvider, rule, isNewPolicy, this);
    centreAndRaise(m_editWatchWindowController, this);
}
