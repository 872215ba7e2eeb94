#include "ApplicationFixture.h"
#include "RulesTableModel.h"
#include "TestFiles.h"

#include <QFileDialog>
#include <QItemSelectionModel>
#include <QMenu>
#include <QTableView>
#include <QTemporaryDir>

TEST_F(ApplicationFixture, ToolbarFollowsTheLockAndTheSelectionAndDeletesOnlyUserRules)
{
    ASSERT_TRUE(startDaemons()) << daemons->failureText().toStdString();
    ASSERT_TRUE(launch());
    RulesTableModel *model = window->model();
    const auto rowWithPath = [&](const char *path) {
        return rowWhere(*model, [&](const NVCRuleBase &rule) {
            return !rule.system && rule.path() == QLatin1String(path);
        });
    };
    const auto select = [&](const QList<int> &rows) {
        QItemSelectionModel *selection = window->rulesEditorTableView()->selectionModel();
        selection->clearSelection();
        for (const int row : rows)
            selection->select(model->index(row, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    };
    const auto systemRow = [&] {
        return rowWhere(*model, [](const NVCRuleBase &rule) { return rule.system; });
    };
    const int userRow = rowWithPath("/mnt/backup/");
    ASSERT_GE(systemRow(), 0);
    select({userRow});
    EXPECT_FALSE(window->deleteRuleToolbarItem()->isEnabled()) << "locked";
    EXPECT_FALSE(window->exportToolbarItem()->isEnabled()) << "locked";
    EXPECT_TRUE(window->deleteEditMenuItem()->isEnabled()) << "the menu bar asks for the lock itself";

    ASSERT_TRUE(unlock());
    select({systemRow()});
    EXPECT_FALSE(window->deleteRuleToolbarItem()->isEnabled());
    window->openContextMenuForRow(systemRow(), QPoint());
    EXPECT_FALSE(window->deleteRuleMenuItem()->isEnabled());
    window->rulesEditorContextualMenu()->hide();

    select({rowWithPath("~/Music/"), rowWithPath("/mnt/backup/")});
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

    const RuleBasePtr systemRule = model->ruleAtRow(systemRow());
    select({systemRow(), rowWithPath("/mnt/backup/"), rowWithPath("~/Downloads/")});
    EXPECT_TRUE(window->deleteRuleToolbarItem()->isEnabled()) << "the selection holds user rules";
    window->deleteRows();
    EXPECT_TRUE(alert(QStringLiteral("Cannot Delete System Rules")));
    ASSERT_TRUE(waitUntil([this] { return !daemons->userFile().contains("/mnt/backup/"); }))
        << daemons->failureText().toStdString();
    EXPECT_FALSE(daemons->userFile().contains("~/Downloads/"));
    EXPECT_TRUE(daemons->userFile().contains("~/Music/"));
    EXPECT_TRUE(RulesDirtyFlag::isSet());
    // The daemon's change notice rebuilds the store from the files: compare by text.
    EXPECT_GE(rowWhere(*model,
                       [&](const NVCRuleBase &rule) {
                           return rule.system && rule.toString() == systemRule->toString();
                       }),
              0);
    window->deleteRow(systemRow());
    EXPECT_TRUE(alert(QStringLiteral("Cannot Delete System Rule")));
}
