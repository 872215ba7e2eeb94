#include "NVCRuleManager.h"
#include "RuleMatching.h"
#include "RulesEditorTableController.h"
#include "RulesTableModel.h"
#include "TestAccessDialog.h"
#include "ui_RulesEditorTableController.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QStyle>

namespace {

QString operationWord(quint32 operation)
{
    switch (operation) {
    case 1:
        return RulesEditorTableController::tr("reads");
    case 2:
        return RulesEditorTableController::tr("writes");
    case 4:
        return RulesEditorTableController::tr("creates");
    case 8:
        return RulesEditorTableController::tr("modifies");
    default:
        return RulesEditorTableController::tr("executes");
    }
}

} // namespace

void RulesEditorTableController::setupAccessTest()
{
    m_testAccessMenuItem = ui->menuRules->addAction(tr("Test Access…"));
    connect(m_testAccessMenuItem, &QAction::triggered, this,
            &RulesEditorTableController::openTestAccessDialog);

    m_accessFilterBar = new QWidget(ui->contentView);
    auto *layout = new QHBoxLayout(m_accessFilterBar);
    // The text keeps the window's own margin instead of touching its edge.
    const int margin = m_accessFilterBar->style()->pixelMetric(QStyle::PM_LayoutLeftMargin);
    layout->setContentsMargins(margin, margin / 2, margin / 2, margin / 2);
    m_accessFilterLabel = new QLabel(m_accessFilterBar);
    m_accessFilterLabel->setWordWrap(true);
    auto *showAll = new QPushButton(tr("Show All Rules"), m_accessFilterBar);
    connect(showAll, &QPushButton::clicked, this, &RulesEditorTableController::clearAccessFilter);
    layout->addWidget(m_accessFilterLabel, 1);
    layout->addWidget(showAll);
    ui->contentLayout->insertWidget(0, m_accessFilterBar);
    m_accessFilterBar->hide();
}

TestAccessDialog *RulesEditorTableController::openTestAccessDialog()
{
    if (!m_testAccessDialog) {
        m_testAccessDialog = new TestAccessDialog(this);
        m_testAccessDialog->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_testAccessDialog, &TestAccessDialog::accessChosen, this,
                &RulesEditorTableController::applyAccessFilter);
    }
    m_testAccessDialog->show();
    m_testAccessDialog->raise();
    m_testAccessDialog->activateWindow();
    return m_testAccessDialog;
}

void RulesEditorTableController::applyAccessFilter(const FileAccess &access)
{
    const QString parent = access.parent.isEmpty() ? QString() : tr(" started by %1").arg(access.parent);
    const QString description =
        tr("%1%2 %3 %4").arg(access.program, parent, operationWord(access.operation), access.path);
    m_model->setRowFilter([this, access, description] {
        const AccessMatches found = matchAccess(*m_ruleManager, access);
        QSet<const NVCRuleBase *> kept;
        for (const RuleMatch &match : found.matches)
            kept.insert(match.rule.get());
        for (const RuleMatch &match : found.wouldMatchIfValid)
            kept.insert(match.rule.get());
        QString text = tr("Rules matching %1: %2").arg(description).arg(found.matches.size());
        if (!found.wouldMatchIfValid.isEmpty())
            text += u' ' + tr("(%1 more would match if they were valid)").arg(found.wouldMatchIfValid.size());
        m_accessFilterLabel->setText(text);
        return kept;
    });
    m_accessFilterBar->show();
}

void RulesEditorTableController::clearAccessFilter()
{
    m_model->setRowFilter({});
    m_accessFilterBar->hide();
}
