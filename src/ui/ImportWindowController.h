#pragma once

#include <QDialog>
#include <QRecursiveMutex>
#include <memory>

class ImportRulesModel;
class ImportWindowDelegate;
class QTableView;
class RuleManager;
class RulesTableModel;

namespace Ui {
class ImportWindowController;
}

// The rules of one suggestion file in a table with a check box per row; Import
// hands the checked ones to the delegate, which adds them to the user's rules.
class ImportWindowController : public QDialog
{
    Q_OBJECT
public:
    // `fileText`: the file's contents when it was opened, which tells whether
    // another request shows the same suggestions.
    ImportWindowController(const QString &path, const QString &fileText, ImportWindowDelegate *delegate,
                           QWidget *parent = nullptr);
    ~ImportWindowController() override;

    QString path() const { return m_path; }
    QString fileText() const { return m_fileText; }
    QTableView *importTableView() const;
    ImportRulesModel *model() const { return m_model; }
    RuleManager *ruleManager() const { return m_ruleManager.get(); }

    // A row counts as checked only while it is on screen and its box is ticked.
    bool getRuleStateAtRow(int row) const;
    void importAction();

    // Escape closes the window like its close button.
    void reject() override;

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void awakeFromNib();
    void windowDidLoad();
    void reloadData();

    std::unique_ptr<Ui::ImportWindowController> ui;
    ImportWindowDelegate *m_delegate;
    QString m_path;
    QString m_fileText;
    std::unique_ptr<RuleManager> m_ruleManager;
    RulesTableModel *m_rules = nullptr;
    ImportRulesModel *m_model = nullptr;
    bool m_initialize = false;
    QRecursiveMutex m_lock;
};
