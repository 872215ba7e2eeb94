#include "ImportWindowController.h"

#include "ImportRulesModel.h"
#include "ImportWindowDelegate.h"
#include "RuleManager.h"
#include "RulesTableModel.h"
#include "ui_ImportWindowController.h"

#include <QCloseEvent>
#include <QHeaderView>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcImportWindowController, "com.norvalis.ImportWindowController")

ImportWindowController::ImportWindowController(const QString &path, const QString &fileText,
                                               ImportWindowDelegate *delegate, QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::ImportWindowController>())
    , m_delegate(delegate)
    , m_path(path)
    , m_fileText(fileText)
{
    setAttribute(Qt::WA_DeleteOnClose);
    ui->setupUi(this);
    connect(ui->importButton, &QAbstractButton::clicked, this, &ImportWindowController::importAction);
    connect(ui->cancelButton, &QAbstractButton::clicked, this, &QWidget::close);
    awakeFromNib();
    // The delegate's notice goes over the window once it is on screen.
    QMetaObject::invokeMethod(this, &ImportWindowController::windowDidLoad, Qt::QueuedConnection);
}

ImportWindowController::~ImportWindowController() = default;

QTableView *ImportWindowController::importTableView() const
{
    return ui->importTableView;
}

void ImportWindowController::awakeFromNib()
{
    QMutexLocker locker(&m_lock);
    if (m_initialize || m_path.isEmpty())
        return;
    qCDebug(lcImportWindowController).noquote() << "path set to" << m_path;
    reloadData();
    m_initialize = true;
}

void ImportWindowController::windowDidLoad()
{
    if (m_delegate)
        m_delegate->showRulesSuggestionDialogForPath(m_path);
}

void ImportWindowController::reloadData()
{
    // For the failsafe file, neighbouring paths merge while reading.
    m_ruleManager = RuleManager::withContentsOfFile(m_path, false);
    m_rules = new RulesTableModel(m_ruleManager.get(), this);
    m_model = new ImportRulesModel(m_rules, this);
    QTableView *table = ui->importTableView;
    table->setModel(m_model);
    table->verticalHeader()->hide();
    table->horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
    table->horizontalHeader()->setSectionResizeMode(RulesTableModel::PathColumn, QHeaderView::Stretch);
    table->setColumnWidth(RulesTableModel::StateColumn, 36);
    table->setColumnWidth(RulesTableModel::ApplicationColumn, 240);
    qCDebug(lcImportWindowController).noquote()
        << "total rules:" << m_ruleManager->totalRules(false) << "for path" << m_path;
}

bool ImportWindowController::getRuleStateAtRow(int row) const
{
    // Only rows on screen have a box to look at; the others count as unchecked.
    const QTableView *table = ui->importTableView;
    const QRect cell = table->visualRect(m_model->index(row, RulesTableModel::StateColumn));
    const bool onScreen = table->isVisible() && cell.isValid() && table->viewport()->rect().intersects(cell);
    return onScreen && m_model->isChecked(row);
}

void ImportWindowController::importAction()
{
    const int total = m_model ? m_model->rowCount() : 0;
    qCDebug(lcImportWindowController, "Processing %d rule(s) for importing", total);
    // From the last row, so the rows still to visit keep their numbers.
    for (int row = total - 1; row >= 0; --row) {
        const RuleBasePtr rule = m_model->ruleAtRow(row);
        if (!rule || getRuleStateAtRow(row))
            continue;
        qCDebug(lcImportWindowController).noquote()
            << "Rule" << rule->description() << "was unchecked. Discarding it";
        if (const auto policy = std::dynamic_pointer_cast<PolicyRule>(rule))
            m_ruleManager->deletePolicyRule(policy, false);
        else if (const auto watch = std::dynamic_pointer_cast<WatchRule>(rule))
            m_ruleManager->deleteWatchRule(watch, false);
    }
    QList<PolicyRulePtr> policies;
    QList<WatchRulePtr> watchRules;
    if (m_ruleManager) {
        m_ruleManager->rebuildRulesCache();
        qCDebug(lcImportWindowController, "Importing %llu rule(s)", m_ruleManager->totalRules(false));
        policies = m_ruleManager->policyRules();
        watchRules = m_ruleManager->watchRules();
    }
    if (m_delegate)
        m_delegate->importPolicies(policies, watchRules);
    close();
}

void ImportWindowController::closeEvent(QCloseEvent *event)
{
    qCDebug(lcImportWindowController, "Import window will close now");
    if (m_delegate) {
        qCDebug(lcImportWindowController, "Finishing import...");
        m_delegate->finishImport();
    }
    event->accept();
}

void ImportWindowController::reject()
{
    close();
}
