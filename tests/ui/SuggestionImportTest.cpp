#include "ApplicationFixture.h"
#include "ImportRulesModel.h"
#include "ImportWindowController.h"
#include "RulesTableModel.h"
#include "TestFiles.h"

#include <QTemporaryDir>

class SuggestionImport : public ApplicationFixture
{
protected:
    void SetUp() override { ASSERT_TRUE(startDaemons()) << daemons->failureText().toStdString(); }

    QString failsafe() const { return daemons->sharedFolder() + QStringLiteral("failsafe.rc"); }

    // Opens the import of a suggestion file written with `content`.
    ImportWindowController *openSuggestions(const QString &name, const QByteArray &content)
    {
        const QString path = folder.filePath(name);
        EXPECT_TRUE(writeFile(path, content));
        window->handleFileImport(path);
        ImportWindowController *importWindow = window->importWindowController();
        EXPECT_TRUE(importWindow && importWindow->path() == path);
        return importWindow;
    }

    QTemporaryDir folder;
};

TEST_F(SuggestionImport, FailsafeSuggestionsOpenOnceGoWhenClosedAndTheirNoticeFollowsTheStrictFile)
{
    ASSERT_TRUE(launch());
    ASSERT_TRUE(waitUntil([this] { return window->importWindowController(); }));
    ImportWindowController *importWindow = window->importWindowController();
    window->handleFileImport(failsafe());
    EXPECT_EQ(window->importWindowController(), importWindow) << "the same suggestions are shown once";

    // Closing without importing still lets the daemon delete the suggestions.
    importWindow->close();
    ASSERT_TRUE(waitUntil([this] { return !QFile::exists(failsafe()); }, 10000));

    QFile::remove(failsafe() + QStringLiteral(".strict"));
    daemons->writeSharedFile(QStringLiteral("failsafe.rc"),
                             R"(allow prefix "/tmp/" "/usr/bin/env" r "" "" "0")");
    window->handleFileImport(failsafe());
    QMessageBox *notice = nullptr;
    ASSERT_TRUE(
        waitUntil([&] { return (notice = window->importWindowController()->findChild<QMessageBox *>()); }));
    EXPECT_EQ(notice->text(), QStringLiteral("New Rule Suggestions")) << "without the strict companion";
}

TEST_F(SuggestionImport, ImportsTheCheckedNewRulesInSightTaggedWithTheFileName)
{
    QFile::remove(failsafe());
    ASSERT_TRUE(launch());
    ASSERT_TRUE(unlock());
    ImportWindowController *importWindow =
        openSuggestions(QStringLiteral("work,from the office.quiven"),
                        R"(allow prefix "~/Music/" "/usr/bin/rhythmbox" r "" "APPLE_PF_BINARY" "1730200000"
allow prefix "/tmp/" "/opt/imported/tool" r "" "" "0"
deny path "/etc/shadow" "/opt/imported/other" r "" "" "0"
)");
    ASSERT_TRUE(importWindow);
    ASSERT_TRUE(waitUntil([&] { return window->currentImportTag() == QLatin1String("work"); }));
    ImportRulesModel *model = importWindow->model();
    ASSERT_EQ(model->rowCount(), 3);
    int shadowRow = 0;
    while (shadowRow < 3 && model->index(shadowRow, RulesTableModel::PathColumn).data().toString() !=
                                QStringLiteral("/etc/shadow"))
        ++shadowRow;
    model->setData(model->index(shadowRow, 0), Qt::Unchecked, Qt::CheckStateRole);

    QSignalSpy finished(window, &RulesEditorTableController::importFinished);
    importWindow->importAction();
    ASSERT_TRUE(finished.count() > 0 || finished.wait());
    EXPECT_EQ(finished.first().at(0).toInt(), 1) << "the rule already present is not imported again";
    EXPECT_EQ(finished.first().at(1).toInt(), 2) << "the unchecked rule is not offered";
    ASSERT_TRUE(waitUntil([this] {
        return daemons->userFile().contains(R"("/tmp/" "/opt/imported/tool" r "work")");
    })) << daemons->userFile().toStdString();
    EXPECT_FALSE(daemons->userFile().contains("/etc/shadow"));
    EXPECT_TRUE(RulesDirtyFlag::isSet());

    QByteArray many;
    for (int i = 0; i < 200; ++i)
        many += QStringLiteral(R"(allow path "/tmp/suggested-%1" "/opt/imported/tool" r "" "" "0")")
                    .arg(i)
                    .toUtf8() +
                '\n';
    importWindow = openSuggestions(QStringLiteral("many.quiven"), many);
    ASSERT_TRUE(importWindow);
    ASSERT_TRUE(waitUntil([&] { return importWindow->isVisible(); }));
    int visibleRows = 0;
    for (int row = 0; row < importWindow->model()->rowCount(); ++row)
        visibleRows += importWindow->getRuleStateAtRow(row) ? 1 : 0;
    EXPECT_GT(visibleRows, 0);
    EXPECT_LT(visibleRows, 200);
    importWindow->importAction();
    ASSERT_TRUE(finished.count() > 1 || finished.wait());
    EXPECT_EQ(finished.last().at(0).toInt(), visibleRows) << "rows out of sight count as unchecked";
}
