#include "ApplicationFixture.h"
#include "RuleMatching.h"
#include "RulesTableModel.h"
#include "TestAccessDialog.h"
#include "TestFiles.h"

#include <QComboBox>
#include <QFileDialog>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTableView>
#include <QTemporaryDir>

namespace {

int rowWithPath(const RulesTableModel &model, const QString &path, bool system = false)
{
    return rowWhere(model,
                    [&](const NVCRuleBase &rule) { return rule.path == path && rule.system == system; });
}

} // namespace

class RulesTableController : public ApplicationFixture
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(startDaemons(answer)) << daemons->failureText().toStdString();
        ASSERT_TRUE(launch());
        model = window->model();
    }

    void select(const QList<int> &rows)
    {
        QItemSelectionModel *selection = window->rulesEditorTableView()->selectionModel();
        selection->clearSelection();
        for (const int row : rows)
            selection->select(model->index(row, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }

    QString answer = QStringLiteral("grant");
    RulesTableModel *model = nullptr;
};

TEST_F(RulesTableController, ToolbarFollowsTheLockAndTheKindOfRulesSelected)
{
    const int systemRow = rowWhere(*model, [](const NVCRuleBase &rule) { return rule.system; });
    const int userRow = rowWithPath(*model, QStringLiteral("/mnt/backup/"));
    ASSERT_GE(systemRow, 0);
    ASSERT_GE(userRow, 0);
    select({userRow});
    EXPECT_FALSE(window->deleteRuleToolbarItem()->isEnabled()) << "locked";
    EXPECT_FALSE(window->exportToolbarItem()->isEnabled()) << "locked";
    EXPECT_TRUE(window->deleteEditMenuItem()->isEnabled()) << "the menu bar asks for the lock itself";

    ASSERT_TRUE(unlock());
    EXPECT_TRUE(window->exportToolbarItem()->isEnabled());
    select({systemRow});
    EXPECT_FALSE(window->deleteRuleToolbarItem()->isEnabled());
    select({systemRow, userRow});
    EXPECT_TRUE(window->deleteRuleToolbarItem()->isEnabled());

    window->openContextMenuForRow(systemRow, QPoint());
    EXPECT_FALSE(window->deleteRuleMenuItem()->isEnabled());
    window->rulesEditorContextualMenu()->hide();
}

TEST_F(RulesTableController, DeletingAMixedSelectionDeletesTheUserRulesAndExplainsTheRest)
{
    ASSERT_TRUE(unlock());
    const int systemRow = rowWhere(*model, [](const NVCRuleBase &rule) { return rule.system; });
    const RuleBasePtr systemRule = model->ruleAtRow(systemRow);
    ASSERT_TRUE(daemons->userFile().contains("/mnt/backup/"));
    select({systemRow, rowWithPath(*model, QStringLiteral("/mnt/backup/")),
            rowWithPath(*model, QStringLiteral("~/Downloads/"))});

    window->deleteRows();
    EXPECT_TRUE(alert(QStringLiteral("Cannot Delete System Rules")));
    EXPECT_TRUE(RulesDirtyFlag::isSet());
    ASSERT_TRUE(waitUntil([this] { return !daemons->userFile().contains("/mnt/backup/"); }))
        << daemons->failureText().toStdString();
    EXPECT_FALSE(daemons->userFile().contains("~/Downloads/"));
    EXPECT_TRUE(daemons->userFile().contains("~/Music/"));
    // The daemon's change notice rebuilds the store from the files: compare by text.
    EXPECT_GE(rowWhere(*model,
                       [&](const NVCRuleBase &rule) {
                           return rule.system && rule.toString() == systemRule->toString();
                       }),
              0);

    window->deleteRow(rowWhere(*model, [](const NVCRuleBase &rule) { return rule.system; }));
    EXPECT_TRUE(alert(QStringLiteral("Cannot Delete System Rule")));
}

class LockedRulesTable : public RulesTableController
{
protected:
    LockedRulesTable() { answer = QStringLiteral("deny"); }
};

TEST_F(LockedRulesTable, ARefusedTagEditChangesNothing)
{
    const QByteArray before = daemons->userFile();
    const int row = rowWithPath(*model, QStringLiteral("~/Music/"));
    ASSERT_GE(row, 0);
    const RuleBasePtr rule = model->ruleAtRow(row);
    QSignalSpy resets(model, &QAbstractItemModel::modelReset);
    EXPECT_TRUE(
        model->setData(model->index(row, RulesTableModel::TagColumn), QStringLiteral("typed"), Qt::EditRole));
    ASSERT_TRUE(resets.wait()) << "the table drops the typed text";
    EXPECT_TRUE(rule->tag.isEmpty());
    EXPECT_FALSE(RulesDirtyFlag::isSet());
    EXPECT_EQ(daemons->userFile(), before);
}

TEST_F(RulesTableController, FilterHideAndExportTheSelection)
{
    const int all = model->rowCount();
    window->searchField()->setText(QStringLiteral("rsync"));
    EXPECT_EQ(model->rowCount(), 2);
    window->searchField()->clear();
    EXPECT_EQ(model->rowCount(), all);

    ASSERT_TRUE(unlock());
    window->hideSystemToolbarItem()->trigger();
    EXPECT_EQ(window->hideSystemToolbarItem()->text(), QStringLiteral("Show System Rules"));
    EXPECT_EQ(quint64(model->rowCount()), manager->totalRules(false));
    EXPECT_LT(model->rowCount(), all);

    select({rowWithPath(*model, QStringLiteral("~/Music/")),
            rowWithPath(*model, QStringLiteral("/mnt/backup/"))});
    window->exportSelectedRules();
    QFileDialog *panel = nullptr;
    ASSERT_TRUE(
        waitUntil([&] { return (panel = window->findChild<QFileDialog *>(QStringLiteral("exportPanel"))); }));
    QTemporaryDir folder;
    const QString target = folder.filePath(QStringLiteral("chosen.quiven"));
    panel->selectFile(target);
    QMetaObject::invokeMethod(panel, "accept");
    const QList<QByteArray> lines = readFile(target).trimmed().split('\n');
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines.join().contains("~/Music/") && lines.join().contains("/mnt/backup/"));
}

TEST_F(RulesTableController, TestAccessShowsTheMatchingRulesUntilCleared)
{
    const int all = model->rowCount();
    TestAccessDialog *dialog = window->openTestAccessDialog();
    dialog->findChild<QLineEdit *>(QStringLiteral("programTextField"))
        ->setText(QStringLiteral("/usr/bin/git"));
    EXPECT_FALSE(dialog->testButton()->isEnabled()) << "a file is needed too";
    dialog->findChild<QLineEdit *>(QStringLiteral("pathTextField"))
        ->setText(QStringLiteral("~/Projects/app/main.c"));
    dialog->findChild<QComboBox *>(QStringLiteral("operationPopUp"))->setCurrentIndex(1);
    ASSERT_TRUE(dialog->testButton()->isEnabled());
    const FileAccess access = dialog->access();
    EXPECT_EQ(access.operation, 2u);
    dialog->testButton()->click();

    const AccessMatches expected = matchAccess(*manager, access);
    ASSERT_FALSE(expected.matches.isEmpty());
    EXPECT_EQ(model->rowCount(), expected.matches.size() + expected.wouldMatchIfValid.size());
    EXPECT_GE(rowWithPath(*model, QStringLiteral("~/Projects/")), 0);
    EXPECT_LT(rowWithPath(*model, QStringLiteral("~/Music/")), 0);
    EXPECT_TRUE(window->accessFilterLabel()->isVisible());
    EXPECT_TRUE(window->accessFilterLabel()->text().contains(QStringLiteral("/usr/bin/git writes")));

    window->clearAccessFilter();
    EXPECT_EQ(model->rowCount(), all);
    EXPECT_FALSE(window->accessFilterLabel()->isVisible());
}
