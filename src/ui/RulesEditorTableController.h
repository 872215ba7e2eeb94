#pragma once

#include "AuthorizationStatus.h"
#include "FileAccess.h"
#include "ImportWindowDelegate.h"
#include "NVCAuthorizationDelegate.h"
#include "NVCCodeSignInfoProvider.h"
#include "NVCRuleBase.h"

#include <QMainWindow>
#include <QPointer>
#include <QRecursiveMutex>
#include <functional>
#include <memory>
#include <optional>

class EditPolicyWindowController;
class EditWatchWindowController;
class ImportWindowController;
class NVCCustomization;
class NVCCustomizedStrings;
class NVCRuleManager;
class QAction;
class QLabel;
class QLineEdit;
class QMenu;
class QPushButton;
class QTableView;
class QToolButton;
class RulesTableModel;
class TestAccessDialog;

namespace Ui {
class RulesEditorTableController;
}

// The main window: every rule in one table grouped by application, the
// toolbar, the search field and the context menu, and the saves through the
// filter daemon that deleting, tagging and importing make.
class RulesEditorTableController : public QMainWindow, public ImportWindowDelegate
{
    Q_OBJECT
public:
    using Finalizer = std::function<void()>;

    explicit RulesEditorTableController(NVCRuleManager *ruleManager, QWidget *parent = nullptr);
    ~RulesEditorTableController() override;

    void setAuthProvider(NVCAuthorizationDelegate *authProvider);
    NVCAuthorizationDelegate *authProvider() const { return m_authProvider; }

    // Re-reads the ruleset through the daemons, then redraws.
    void reloadTableView();
    void reloadData();

    QTableView *rulesEditorTableView() const;
    RulesTableModel *model() const { return m_model; }
    QLineEdit *searchField() const { return m_searchField; }
    bool showSystemRules() const { return m_showSystemRules; }
    bool internalWrite() const { return m_internalWrite; }

    // What the application controller needs of the window.
    QWidget *rootView() const;
    QPushButton *authorizationButton() const;
    QToolButton *rulesetSegmentedControl() const { return m_rulesetSegmentedControl; }
    QMenu *rulesetMenu() const { return m_rulesetMenu; }
    QAction *menuItemLearningMode() const;
    QAction *ruleReloadMenuItem() const;
    QAction *preferencesMenuItem() const;
    QAction *menuItemAbout() const;
    QAction *menuItemHide() const;
    QAction *menuItemQuit() const;
    QMenu *applicationMenu() const;

    // Toolbar and menu actions, also reached by tests and screen readers.
    QAction *exportToolbarItem() const;
    QAction *deleteRuleToolbarItem() const;
    QAction *hideSystemToolbarItem() const;
    QAction *exportSelectedRulesMenuItem() const;
    QAction *deleteEditMenuItem() const;
    QMenu *rulesEditorContextualMenu() const { return m_contextMenu; }
    QAction *deleteRuleMenuItem() const { return m_deleteRuleMenuItem; }

    void deleteRow(int row);
    void deleteRows();
    void exportRules();
    void exportSelectedRules();
    void hideSystemAction();
    void tableViewCellAction(int row, const QString &tag);
    // Opens the context menu as a click on `row` does (-1: below the rows).
    void openContextMenuForRow(int row, const QPoint &globalPosition);

    // "Test Access…": the table shows only the rules about one access, until cleared.
    QAction *testAccessMenuItem() const { return m_testAccessMenuItem; }
    TestAccessDialog *openTestAccessDialog();
    void applyAccessFilter(const FileAccess &access);
    void clearAccessFilter();
    QLabel *accessFilterLabel() const { return m_accessFilterLabel; }

    // Shows a notice over the window; it goes away with its OK button.
    void displayNotice(const QString &title, const QString &message);
    // The same over another window, such as the import window.
    void displayNotice(const QString &title, const QString &message, QWidget *over);

    // ---- the rule editors ----
    QAction *importToolbarItem() const;
    QAction *addNewPolicyRuleToolbarItem() const;
    QAction *addNewWatchRuleToolbarItem() const;
    QAction *editRuleToolbarItem() const;
    QAction *newRuleMenuItem() const { return m_newRuleMenuItem; }
    QAction *editRuleMenuItem() const { return m_editRuleMenuItem; }
    EditPolicyWindowController *editPolicyWindowController() const;
    EditWatchWindowController *editWatchWindowController() const;

    void newPolicyRule();
    void newWatchRule();
    // Context menu: a new rule for the clicked rule's application.
    void createNewPolicy();
    // Context menu: the clicked row, else the selected one.
    void editRule();
    void doubleClickAction();
    void editPolicy(const PolicyRulePtr &rule, bool isNewPolicy = false);
    void editWatch(const WatchRulePtr &rule, bool isNewPolicy = false);
    void createAndEditPolicyRuleWithProcessName(const QString &processName, const QString &constraint);
    void createAndEditWatchRuleWithProcessName(const QString &processName);

    // ---- suggestion import ----
    ImportWindowController *importWindowController() const;
    QString currentImportTag() const { return m_currentImportTag; }
    void importRules();
    void handleFileImport(const QString &path);
    void showRulesSuggestionDialogForPath(const QString &path) override;
    void importPolicies(const QList<PolicyRulePtr> &policies, const QList<WatchRulePtr> &watchRules) override;
    void finishImport() override;

Q_SIGNALS:
    // The user closed the main window: the application decides whether to quit.
    void windowWillClose();
    // An import ended with this many of the offered rules added.
    void importFinished(int imported, int total);

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void awakeFromNib();
    void setupToolbarWidgets();
    void setupContextMenu();
    void setupAccessTest();
    void validateToolbarItems();
    void validateMenuItems();
    QList<int> selectedRows() const;
    RuleBasePtr clickedRule() const;

    // Runs `perform` with the current authorization, or with one the user
    // grants now; `refused` runs when the user does not.
    using Perform =
        std::function<void(const QByteArray &authForm, OSStatus status, const Finalizer &finalizer)>;
    void performWithAuthorization(const QString &activity, const Perform &perform,
                                  const std::function<void()> &refused = {});
    void handleDeleteRowForRule(const RuleBasePtr &rule, int row);
    void handleDeleteRows(const QList<int> &rows);
    void updateRule(const RuleBasePtr &rule, const QString &tag);
    void writeUserRules(const QByteArray &authForm, OSStatus status, const Finalizer &finalizer);
    void exportToFile(const std::optional<QList<RuleBasePtr>> &selection);
    void setupEditorActions();
    int doImportPolicies(const QList<PolicyRulePtr> &policies, const QList<WatchRulePtr> &watchRules,
                         const QByteArray &authForm, OSStatus status, const Finalizer &finalizer);
    bool doImportPolicy(const PolicyRulePtr &rule);
    bool doImportWatchRule(const WatchRulePtr &rule);
    QString constraintForApplicationOfRule(const NVCRuleBase &rule) const;
    void displayImportDoneNoticeWithImportedRules(int imported, int total);
    void finishImportWith(bool imported);

    std::unique_ptr<Ui::RulesEditorTableController> ui;
    std::shared_ptr<const NVCCustomization> m_customization;
    std::unique_ptr<NVCCustomizedStrings> m_customizedStrings;
    NVCRuleManager *m_ruleManager;
    RulesTableModel *m_model;
    QPointer<NVCAuthorizationDelegate> m_authProvider;
    QLineEdit *m_searchField = nullptr;
    QToolButton *m_rulesetSegmentedControl = nullptr;
    QMenu *m_rulesetMenu = nullptr;
    QMenu *m_contextMenu = nullptr;
    QAction *m_deleteRuleMenuItem = nullptr;
    QAction *m_testAccessMenuItem = nullptr;
    QPointer<TestAccessDialog> m_testAccessDialog;
    QWidget *m_accessFilterBar = nullptr;
    QLabel *m_accessFilterLabel = nullptr;
    QAction *m_newRuleMenuItem = nullptr;
    QAction *m_editRuleMenuItem = nullptr;
    QPointer<EditPolicyWindowController> m_editPolicyWindowController;
    QPointer<EditWatchWindowController> m_editWatchWindowController;
    QPointer<ImportWindowController> m_importWindowController;
    QString m_currentImportTag;
    NVCCodeSignInfoProvider m_codeSignInfoProvider;
    int m_clickedRow = -1;
    bool m_showSystemRules = true;
    bool m_initialize = true;
    bool m_internalWrite = false;
    QRecursiveMutex m_lock;
};
