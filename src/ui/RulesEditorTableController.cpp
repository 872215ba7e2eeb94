#include "RulesEditorTableController.h"

#include "NVCActivity.h"
#include "NVCAuthorizationDelegate.h"
#include "NVCCustomization.h"
#include "NVCCustomizedStrings.h"
#include "NVCRuleManager.h"
#include "RulesDirtyFlag.h"
#include "RulesTableModel.h"
#include "ui_RulesEditorTableController.h"

#include <QCloseEvent>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QLoggingCategory>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QToolButton>
#include <QUrl>

Q_LOGGING_CATEGORY(lcRulesEditorTableController, "com.norvalis.RulesEditorTableController")

namespace {

constexpr int kRowHeight = 26;

QString filledIn(QString text, const QString &productName)
{
    return text.replace(QLatin1String("%%QUIVEN_NAME%%"), productName);
}

} // namespace

RulesEditorTableController::RulesEditorTableController(NVCRuleManager *ruleManager, QWidget *parent)
    : QMainWindow(parent)
    , ui(std::make_unique<Ui::RulesEditorTableController>())
    , m_customization(std::make_shared<NVCCustomization>())
    , m_customizedStrings(std::make_unique<NVCCustomizedStrings>(m_customization))
    , m_ruleManager(ruleManager)
    , m_model(new RulesTableModel(ruleManager, this))
{
    m_showSystemRules = m_customization->quivenSystemRulesVisible();
    m_model->setShowSystemRules(m_showSystemRules);
    ui->setupUi(this);
    setupToolbarWidgets();
    setupContextMenu();
    setupEditorActions();
    setupAccessTest();
    awakeFromNib();
}

RulesEditorTableController::~RulesEditorTableController() = default;

void RulesEditorTableController::setupToolbarWidgets()
{
    m_rulesetMenu = new QMenu(tr("System Ruleset"), this);
    const QString rulesetTitles[] = {tr("Standard Ruleset"), tr("Classic Ruleset"), tr("Paranoid Ruleset")};
    for (int index = 0; index < int(std::size(rulesetTitles)); ++index)
        m_rulesetMenu->addAction(rulesetTitles[index])->setData(index);

    m_rulesetSegmentedControl = new QToolButton(this);
    m_rulesetSegmentedControl->setObjectName(QStringLiteral("rulesetSegmentedControl"));
    m_rulesetSegmentedControl->setAccessibleName(tr("System ruleset"));
    m_rulesetSegmentedControl->setMenu(m_rulesetMenu);
    m_rulesetSegmentedControl->setPopupMode(QToolButton::InstantPopup);
    m_rulesetSegmentedControl->setToolButtonStyle(Qt::ToolButtonTextOnly);

    auto *spacer = new QWidget(this);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    m_searchField = new QLineEdit(this);
    m_searchField->setObjectName(QStringLiteral("searchField"));
    m_searchField->setAccessibleName(tr("Search rules"));
    m_searchField->setPlaceholderText(tr("Search"));
    m_searchField->setClearButtonEnabled(true);
    m_searchField->setMinimumWidth(220);

    ui->toolbar->addSeparator();
    ui->toolbar->addWidget(m_rulesetSegmentedControl);
    ui->toolbar->addWidget(spacer);
    ui->toolbar->addWidget(m_searchField);

    connect(m_searchField, &QLineEdit::textChanged, this, [this](const QString &text) {
        qCDebug(lcRulesEditorTableController) << "search field text changed:" << text;
        m_ruleManager->applyFilterWithString(text);
    });
    connect(ui->findMenuItem, &QAction::triggered, this, [this] {
        activateWindow();
        raise();
        m_searchField->setFocus(Qt::ShortcutFocusReason);
        m_searchField->selectAll();
    });
}

void RulesEditorTableController::setupContextMenu()
{
    m_contextMenu = new QMenu(tr("Rule"), this);
    m_deleteRuleMenuItem = m_contextMenu->addAction(tr("Delete"));
    connect(m_deleteRuleMenuItem, &QAction::triggered, this, [this] { deleteRow(m_clickedRow); });
    connect(ui->rulesEditorTableView, &QWidget::customContextMenuRequested, this,
            [this](const QPoint &position) {
                openContextMenuForRow(ui->rulesEditorTableView->indexAt(position).row(),
                                      ui->rulesEditorTableView->viewport()->mapToGlobal(position));
            });
}

void RulesEditorTableController::awakeFromNib()
{
    QMutexLocker locker(&m_lock);
    if (!m_initialize)
        return;
    m_initialize = false;

    QTableView *table = ui->rulesEditorTableView;
    table->setModel(m_model);
    // Fixed row heights keep a model reset over a hundred thousand rows cheap.
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->verticalHeader()->setDefaultSectionSize(kRowHeight);
    table->verticalHeader()->hide();
    table->setIconSize(QSize(16, 16));
    QHeaderView *header = table->horizontalHeader();
    header->setSortIndicatorShown(true);
    header->setSortIndicator(-1, Qt::AscendingOrder);
    header->setSectionResizeMode(QHeaderView::Interactive);
    header->setSectionResizeMode(RulesTableModel::PathColumn, QHeaderView::Stretch);
    const int widths[] = {28, 290, 70, 70, 90, 150, 0, 200};
    for (int column = 0; column < int(std::size(widths)); ++column) {
        if (widths[column] > 0)
            table->setColumnWidth(column, widths[column]);
    }
    table->installEventFilter(this);

    connect(m_model, &RulesTableModel::tagEdited, this, &RulesEditorTableController::tableViewCellAction);
    connect(m_model, &QAbstractItemModel::modelReset, this,
            &RulesEditorTableController::validateToolbarItems);
    connect(table->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        validateToolbarItems();
        validateMenuItems();
    });
    connect(ui->exportToolbarItem, &QAction::triggered, this, &RulesEditorTableController::exportRules);
    connect(ui->exportRulesMenuItem, &QAction::triggered, this, &RulesEditorTableController::exportRules);
    connect(ui->exportSelectedRulesMenuItem, &QAction::triggered, this,
            &RulesEditorTableController::exportSelectedRules);
    connect(ui->deleteRuleToolbarItem, &QAction::triggered, this, &RulesEditorTableController::deleteRows);
    connect(ui->deleteEditMenuItem, &QAction::triggered, this, &RulesEditorTableController::deleteRows);
    connect(ui->hideSystemToolbarItem, &QAction::triggered, this,
            &RulesEditorTableController::hideSystemAction);

    setWindowTitle(filledIn(tr("%%QUIVEN_NAME%% Configuration"), m_customizedStrings->quivenName()));
    if (!m_customization->quivenSystemRulesAvailable())
        ui->toolbar->removeAction(ui->hideSystemToolbarItem);
    // The first load is the application controller's, behind its overlay;
    // here the table only shows what the store holds.
    reloadData();
    validateMenuItems();
}

QTableView *RulesEditorTableController::rulesEditorTableView() const
{
    return ui->rulesEditorTableView;
}

QWidget *RulesEditorTableController::rootView() const
{
    return ui->rootView;
}

QPushButton *RulesEditorTableController::authorizationButton() const
{
    return ui->authorizationButton;
}

QAction *RulesEditorTableController::menuItemLearningMode() const
{
    return ui->menuItemLearningMode;
}

QAction *RulesEditorTableController::ruleReloadMenuItem() const
{
    return ui->ruleReloadMenuItem;
}

QAction *RulesEditorTableController::preferencesMenuItem() const
{
    return ui->preferencesMenuItem;
}

QAction *RulesEditorTableController::menuItemAbout() const
{
    return ui->menuItemAbout;
}

QAction *RulesEditorTableController::menuItemHide() const
{
    return ui->menuItemHide;
}

QAction *RulesEditorTableController::menuItemQuit() const
{
    return ui->menuItemQuit;
}

QMenu *RulesEditorTableController::applicationMenu() const
{
    return ui->menuApplication;
}

QAction *RulesEditorTableController::exportToolbarItem() const
{
    return ui->exportToolbarItem;
}

QAction *RulesEditorTableController::deleteRuleToolbarItem() const
{
    return ui->deleteRuleToolbarItem;
}

QAction *RulesEditorTableController::hideSystemToolbarItem() const
{
    return ui->hideSystemToolbarItem;
}

QAction *RulesEditorTableController::exportSelectedRulesMenuItem() const
{
    return ui->exportSelectedRulesMenuItem;
}

QAction *RulesEditorTableController::deleteEditMenuItem() const
{
    return ui->deleteEditMenuItem;
}

void RulesEditorTableController::setAuthProvider(NVCAuthorizationDelegate *authProvider)
{
    if (m_authProvider)
        disconnect(m_authProvider, nullptr, this, nullptr);
    m_authProvider = authProvider;
    if (m_authProvider)
        connect(m_authProvider, &NVCAuthorizationDelegate::isAuthorizedChanged, this,
                &RulesEditorTableController::validateToolbarItems);
    validateToolbarItems();
}

void RulesEditorTableController::reloadTableView()
{
    const NVCActivity activity(QStringLiteral("Reload QUIVEN policy table"));
    QPointer<RulesEditorTableController> self(this);
    m_ruleManager->reloadCurrentUserConfigurationWithCallback([self](bool success) {
        if (!success || !self)
            return;
        QMetaObject::invokeMethod(
            self.data(), [self] { self->reloadData(); }, Qt::QueuedConnection);
    });
}

void RulesEditorTableController::reloadData()
{
    qCDebug(lcRulesEditorTableController, "Reloading table data");
    m_model->reloadData();
}

QList<int> RulesEditorTableController::selectedRows() const
{
    QList<int> rows;
    for (const QModelIndex &index : ui->rulesEditorTableView->selectionModel()->selectedRows())
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

RuleBasePtr RulesEditorTableController::clickedRule() const
{
    return m_model->ruleAtRow(m_clickedRow);
}

void RulesEditorTableController::validateToolbarItems()
{
    const bool authorized = m_authProvider && m_authProvider->isAuthorized();
    bool userRuleSelected = false;
    for (const int row : selectedRows()) {
        const RuleBasePtr rule = m_model->ruleAtRow(row);
        if (rule && !rule->system) {
            userRuleSelected = true;
            break;
        }
    }
    ui->importToolbarItem->setEnabled(authorized);
    ui->exportToolbarItem->setEnabled(authorized);
    ui->addNewPolicyRuleToolbarItem->setEnabled(authorized);
    ui->addNewWatchRuleToolbarItem->setEnabled(authorized);
    ui->hideSystemToolbarItem->setEnabled(authorized);
    ui->editRuleToolbarItem->setEnabled(authorized && userRuleSelected);
    ui->deleteRuleToolbarItem->setEnabled(authorized && userRuleSelected);
}

void RulesEditorTableController::validateMenuItems()
{
    const bool anySelected = !selectedRows().isEmpty();
    ui->exportSelectedRulesMenuItem->setEnabled(anySelected);
    ui->deleteEditMenuItem->setEnabled(anySelected);
    const RuleBasePtr rule = clickedRule();
    m_deleteRuleMenuItem->setEnabled(!rule || !rule->system);
    m_editRuleMenuItem->setEnabled(!rule || !rule->system);
}

void RulesEditorTableController::openContextMenuForRow(int row, const QPoint &globalPosition)
{
    m_clickedRow = row;
    // The menu acts on the clicked row alone.
    ui->rulesEditorTableView->clearSelection();
    if (row >= 0)
        ui->rulesEditorTableView->selectRow(row);
    validateMenuItems();
    m_contextMenu->popup(globalPosition);
}

void RulesEditorTableController::displayNotice(const QString &title, const QString &message)
{
    displayNotice(title, message, this);
}

void RulesEditorTableController::performWithAuthorization(const QString &activity, const Perform &perform,
                                                          const std::function<void()> &refused)
{
    // The activity lasts until the change is handed to the daemon, prompt included.
    auto running = std::make_shared<NVCActivity>(activity);
    if (const std::optional<QByteArray> authForm =
            m_authProvider ? m_authProvider->externalAuthForm() : std::optional<QByteArray>()) {
        perform(*authForm, errAuthorizationSuccess, {});
        return;
    }
    QPointer<RulesEditorTableController> self(this);
    m_ruleManager->authorizeWithCallback([self, running, perform, refused](const QByteArray &authForm,
                                                                           OSStatus status,
                                                                           const Finalizer &finalizer) {
        if (self && status == errAuthorizationSuccess)
            perform(authForm, status, finalizer);
        else if (self && refused)
            refused();
    });
}

void RulesEditorTableController::writeUserRules(const QByteArray &authForm, OSStatus status,
                                                const Finalizer &finalizer)
{
    m_ruleManager->writeToCurrentUserConfigurationWithAuthForm(authForm, status, finalizer);
}

void RulesEditorTableController::deleteRow(int row)
{
    const RuleBasePtr rule = m_model->ruleAtRow(row);
    if (!rule)
        return;
    if (rule->system) {
        displayNotice(tr("Cannot Delete System Rule"),
                      tr("System rules cannot be deleted. To override a system rule, create an identical "
                         "user rule with a different policy."));
        return;
    }
    performWithAuthorization(
        QStringLiteral("Deleting QUIVEN user policy"),
        [this, rule, row](const QByteArray &authForm, OSStatus status, const Finalizer &finalizer) {
            handleDeleteRowForRule(rule, row);
            writeUserRules(authForm, status, finalizer);
        });
}

void RulesEditorTableController::handleDeleteRowForRule(const RuleBasePtr &rule, int row)
{
    RulesDirtyFlag::set(true);
    bool stillStored = false;
    bool first = false;
    if (const auto policy = std::dynamic_pointer_cast<PolicyRule>(rule)) {
        const RuleBasePtr previous = m_model->ruleAtRow(row - 1);
        if (row == 0)
            first = true;
        else if (std::dynamic_pointer_cast<PolicyRule>(previous))
            first =
                RuleManager::applicationNameForRule(*previous) != RuleManager::applicationNameForRule(*rule);
        stillStored = m_ruleManager->deletePolicyRule(policy);
    } else if (const auto watch = std::dynamic_pointer_cast<WatchRule>(rule)) {
        stillStored = m_ruleManager->deleteWatchRule(watch);
    }
    // Only a rule the store kept is taken off the table here; a removed one
    // leaves the table with the store's own change.
    if (!stillStored)
        return;
    m_internalWrite = true;
    m_model->removeRowFromTable(row);
    if (first && row < m_model->rowCount())
        m_model->redrawRow(row, RulesTableModel::StateColumn, RulesTableModel::ApplicationColumn);
}

void RulesEditorTableController::deleteRows()
{
    const QList<int> rows = selectedRows();
    if (rows.isEmpty())
        return;
    const QString activity = rows.size() == 1 ? QStringLiteral("Deleting QUIVEN user policy")
                                              : QStringLiteral("Deleting QUIVEN user policies");
    performWithAuthorization(
        activity, [this, rows](const QByteArray &authForm, OSStatus status, const Finalizer &finalizer) {
            handleDeleteRows(rows);
            writeUserRules(authForm, status, finalizer);
        });
}

void RulesEditorTableController::handleDeleteRows(const QList<int> &rows)
{
    RulesDirtyFlag::set(true);
    m_internalWrite = true;
    bool systemRuleSelected = false;
    QList<RuleBasePtr> deletions;
    for (const int row : rows) {
        const RuleBasePtr rule = m_model->ruleAtRow(row);
        if (!rule)
            continue;
        if (rule->system) {
            systemRuleSelected = true;
            continue;
        }
        qCDebug(lcRulesEditorTableController, "deleting row %d", row);
        deletions.append(rule);
    }
    for (const RuleBasePtr &rule : std::as_const(deletions)) {
        if (const auto policy = std::dynamic_pointer_cast<PolicyRule>(rule))
            m_ruleManager->deletePolicyRule(policy, false);
        else if (const auto watch = std::dynamic_pointer_cast<WatchRule>(rule))
            m_ruleManager->deleteWatchRule(watch, false);
    }
    m_ruleManager->rebuildRulesCache();
    if (systemRuleSelected)
        displayNotice(
            tr("Cannot Delete System Rules"),
            filledIn(tr("System rules cannot be deleted using this tool. Please disable %%QUIVEN_NAME%% "
                        "and edit the system rules directly to make changes."),
                     m_customizedStrings->quivenName()));
}

void RulesEditorTableController::tableViewCellAction(int row, const QString &tag)
{
    const QList<int> rows = selectedRows();
    const RuleBasePtr rule = m_model->ruleAtRow(rows.isEmpty() ? row : rows.first());
    if (!rule)
        return;
    QPointer<RulesEditorTableController> self(this);
    performWithAuthorization(
        QStringLiteral("Updating QUIVEN user policy"),
        [this, rule, tag](const QByteArray &authForm, OSStatus status, const Finalizer &) {
            updateRule(rule, tag);
            writeUserRules(authForm, status, {});
        },
        [self] {
            // Drops the typed text.
            self->reloadTableView();
        });
}

void RulesEditorTableController::updateRule(const RuleBasePtr &rule, const QString &tag)
{
    if (!rule->system) {
        rule->setTag(tag);
        m_ruleManager->ruleChangedInPlace();
        qCDebug(lcRulesEditorTableController).noquote()
            << QStringLiteral("set tag to '%1' for rule %2 / %3").arg(tag, rule->processName(), rule->path());
        m_model->reloadData();
    } else if (std::dynamic_pointer_cast<PolicyRule>(rule)) {
        displayNotice(
            tr("Cannot Edit System Rules"),
            filledIn(tr("System rules cannot be edited using this tool. Please disable %%QUIVEN_NAME%% "
                        "and edit the system rules directly to make changes."),
                     m_customizedStrings->quivenName()));
    }
    RulesDirtyFlag::set(true);
    m_internalWrite = true;
}

void RulesEditorTableController::hideSystemAction()
{
    qCDebug(lcRulesEditorTableController)
        << "Should show system rules?" << (m_showSystemRules ? "NO" : "YES");
    m_showSystemRules = !m_showSystemRules;
    ui->hideSystemToolbarItem->setText(m_showSystemRules ? tr("Hide System Rules") : tr("Show System Rules"));
    m_model->setShowSystemRules(m_showSystemRules);
}

void RulesEditorTableController::exportRules()
{
    exportToFile(std::nullopt);
}

void RulesEditorTableController::exportSelectedRules()
{
    QList<RuleBasePtr> selection;
    for (const int row : selectedRows()) {
        if (const RuleBasePtr rule = m_model->ruleAtRow(row))
            selection.append(rule);
    }
    exportToFile(selection);
}

void RulesEditorTableController::exportToFile(const std::optional<QList<RuleBasePtr>> &selection)
{
    auto *panel = new QFileDialog(this, tr("Export Rules"), QDir::homePath());
    panel->setObjectName(QStringLiteral("exportPanel"));
    panel->setAcceptMode(QFileDialog::AcceptSave);
    panel->setOption(QFileDialog::DontUseNativeDialog);
    panel->selectFile(QStringLiteral("local.quiven"));
    panel->setAttribute(Qt::WA_DeleteOnClose);
    connect(panel, &QFileDialog::fileSelected, this, [this, selection](const QString &path) {
        m_ruleManager->copyUserRulesetTo(QUrl::fromLocalFile(path), selection);
        // Shown in the file manager only where a desktop is running.
        if (QFileInfo::exists(path) && !qEnvironmentVariableIsEmpty("XDG_CURRENT_DESKTOP"))
            QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
    });
    panel->open();
}

void RulesEditorTableController::closeEvent(QCloseEvent *event)
{
    // Whether the application ends is the application controller's decision.
    event->ignore();
    Q_EMIT windowWillClose();
}

bool RulesEditorTableController::eventFilter(QObject *watched, QEvent *event)
{
    // Keys typed into an open tag editor go to the editor, not to the table.
    if (watched == ui->rulesEditorTableView && event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (key->key() == Qt::Key_Delete || key->key() == Qt::Key_Backspace) {
            deleteRows();
            return true;
        }
        // Return opens policy rules only; watch rules open by double-click.
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            const QList<int> rows = selectedRows();
            if (rows.size() == 1) {
                if (const auto policy =
                        std::dynamic_pointer_cast<PolicyRule>(m_model->ruleAtRow(rows.first())))
                    editPolicy(policy);
            }
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}
