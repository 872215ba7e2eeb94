#include "ApplicationFixture.h"
#include "DGPreferencesWindow.h"
#include "EditPolicyWindowController.h"
#include "EditWatchWindowController.h"
#include "ImportWindowController.h"
#include "NVCEditPolicyUI.h"
#include "RulesTableModel.h"
#include "ui_EditPolicyWindowController.h"
#include "ui_EditWatchWindowController.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QComboBox>
#include <QLineEdit>
#include <QMenu>
#include <QTableView>
#include <QTest>

namespace {

void clickButton(QMessageBox *box, const QString &text)
{
    for (QAbstractButton *button : box->buttons()) {
        if (button->text() == text)
            button->click();
    }
}

// The editor's warning of that name, once it shows.
QMessageBox *warning(QWidget *editor, const QString &name = QStringLiteral("invalidInputWarning"))
{
    QMessageBox *found = nullptr;
    waitUntil([&] { return (found = editor->findChild<QMessageBox *>(name)); });
    return found;
}

} // namespace

class RuleEditors : public ApplicationFixture
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(startDaemons(answer)) << daemons->failureText().toStdString();
        // The suggestion import has its own tests.
        QFile::remove(daemons->sharedFolder() + QStringLiteral("failsafe.rc"));
        ASSERT_TRUE(launch());
        model = window->model();
    }

    // A policy editor over a fresh rule with `processName`, as the context menu opens it.
    EditPolicyWindowController *newPolicyEditor(const QString &processName)
    {
        window->createAndEditPolicyRuleWithProcessName(processName, QString());
        return window->editPolicyWindowController();
    }

    // Saves and waits until the window has gone and the daemon holds `expected`.
    template <typename Editor> bool saveAndFind(Editor *editor, const QByteArray &expected)
    {
        QPointer<RuleEditorWindow> open(editor);
        QSignalSpy saved(editor, &RuleEditorWindow::saveFinished);
        editor->saveClicked();
        return (saved.count() > 0 || saved.wait()) && saved.first().first().toBool() &&
               waitUntil([&] { return !open && daemons->userFile().contains(expected); });
    }

    QString answer = QStringLiteral("grant");
    RulesTableModel *model = nullptr;
};

TEST_F(RuleEditors, PolicyEditorsComposeTheProcessNameWatchEditorsKeepItWhole)
{
    ASSERT_TRUE(unlock());
    struct Case
    {
        QString stored, parentTyped;
        bool anyParent;
        QByteArray written;
    };
    const Case cases[] = {
        {"/usr/bin/cp via /usr/bin/env", "/usr/bin/env", false, R"("/usr/bin/cp via /usr/bin/env")"},
        {"/usr/bin/cp", "", true, R"("/usr/bin/cp via any")"},
        {"any ancestor /usr/bin/make", "/usr/bin/env", false, R"("any ancestor /usr/bin/env")"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.stored.toStdString());
        EditPolicyWindowController *editor = newPolicyEditor(c.stored);
        ASSERT_TRUE(editor);
        editor->form()->pathTextField->setText(QStringLiteral("/tmp"));
        editor->form()->parentTextField->setText(c.parentTyped);
        if (c.anyParent)
            editor->form()->anyParentCheckBox->click();
        EXPECT_TRUE(saveAndFind(editor, c.written)) << daemons->userFile().toStdString();
    }
    EXPECT_TRUE(RulesDirtyFlag::isSet());

    window->newWatchRule();
    EditWatchWindowController *editor = window->editWatchWindowController();
    ASSERT_TRUE(editor);
    editor->form()->anyApplicationCheckbox->click();
    editor->form()->anyPathCheckbox->click();
    EXPECT_TRUE(saveAndFind(editor, R"(watch prefix "any" "any" rwc)")) << daemons->userFile().toStdString();

    auto watch = std::make_shared<WatchRule>();
    watch->setPath(QStringLiteral("/tmp/"));
    watch->setProcessName(QStringLiteral("/usr/bin/cp via /usr/bin/env"));
    watch->operations = 1;
    window->editWatch(watch);
    editor = window->editWatchWindowController();
    editor->saveClicked();
    // No file has that name, so the editor asks first.
    QMessageBox *invalid = warning(editor);
    ASSERT_TRUE(invalid);
    clickButton(invalid, QStringLiteral("Proceed anyway"));
    EXPECT_TRUE(waitUntil([&] {
        return daemons->userFile().contains(R"(watch prefix "/tmp/" "/usr/bin/cp via /usr/bin/env" r)");
    })) << daemons->userFile().toStdString();
}

TEST_F(RuleEditors, TypingChoosesTheTypeAndInvalidInputIsSavedOnlyWhenTheUserProceeds)
{
    ASSERT_TRUE(unlock());
    EditPolicyWindowController *editor = newPolicyEditor(QStringLiteral("/usr/bin/cp"));
    QPointer<EditPolicyWindowController> open(editor);
    Ui::EditPolicyWindowController *form = editor->form();
    QTest::keyClicks(form->pathTextField, QStringLiteral(".txt"));
    EXPECT_EQ(form->policyTypePopUp->currentIndex(), 2);
    EXPECT_EQ(form->pathTextField->property("borderColor").value<QColor>(),
              NVCEditPolicyUI::invalidBorderColor());
    form->pathTextField->clear();
    QTest::keyClicks(form->pathTextField, QStringLiteral("/tmp"));
    EXPECT_EQ(form->policyTypePopUp->currentIndex(), 0);
    EXPECT_FALSE(form->pathTextField->property("borderColor").value<QColor>().isValid());

    const QByteArray before = daemons->userFile();
    form->pathTextField->setText(QStringLiteral("/tmp/\" \"/usr/bin/evil"));
    editor->saveClicked();
    QMessageBox *unwritable = warning(editor, QStringLiteral("unwritableFieldWarning"));
    ASSERT_TRUE(unwritable);
    EXPECT_TRUE(unwritable->text().contains(QStringLiteral("path")));
    unwritable->accept();
    EXPECT_EQ(daemons->userFile(), before);

    form->pathTextField->setText(QStringLiteral("/no/such/folder/"));
    editor->saveClicked();
    QMessageBox *invalid = warning(editor);
    ASSERT_TRUE(invalid);
    clickButton(invalid, QStringLiteral("Cancel"));
    ASSERT_TRUE(
        waitUntil([&] { return !editor->findChild<QMessageBox *>(QStringLiteral("invalidInputWarning")); }));
    EXPECT_TRUE(open && editor->isVisible());
    EXPECT_EQ(daemons->userFile(), before);
    editor->saveClicked();
    invalid = warning(editor);
    ASSERT_TRUE(invalid);
    clickButton(invalid, QStringLiteral("Proceed anyway"));
    EXPECT_TRUE(waitUntil([&] {
        return daemons->userFile().contains(R"("/no/such/folder/" "/usr/bin/cp")");
    })) << daemons->userFile().toStdString();
    EXPECT_TRUE(waitUntil([&] { return !open; }));
}

TEST_F(RuleEditors, TheTableOpensOneEditorOfEachKindAndSystemRulesReadOnly)
{
    window->newPolicyRule();
    EditPolicyWindowController *editor = window->editPolicyWindowController();
    ASSERT_TRUE(editor);
    EXPECT_TRUE(editor->form()->saveButton->isHidden()) << "locked";
    ASSERT_TRUE(unlock());
    EXPECT_TRUE(waitUntil([&] { return editor->form()->saveButton->isVisible(); })) << "refilled on unlock";

    window->rulesEditorTableView()->selectRow(
        rowWhere(*model, [](const NVCRuleBase &rule) { return dynamic_cast<const WatchRule *>(&rule); }));
    window->doubleClickAction();
    EXPECT_EQ(window->editPolicyWindowController(), editor) << "the open one stays";
    ASSERT_TRUE(window->editWatchWindowController());
    editor->cancelClicked();
    ASSERT_TRUE(waitUntil([&] { return !window->editPolicyWindowController(); }));

    const int systemRow = rowWhere(*model, [](const NVCRuleBase &rule) {
        return rule.system && dynamic_cast<const PolicyRule *>(&rule);
    });
    const RuleBasePtr systemRule = model->ruleAtRow(systemRow);
    const QString systemPath = systemRule->path();
    window->rulesEditorTableView()->selectRow(systemRow);
    window->doubleClickAction();
    QPointer<EditPolicyWindowController> readOnly(window->editPolicyWindowController());
    ASSERT_TRUE(readOnly);
    EXPECT_TRUE(readOnly->form()->saveButton->isHidden()) << "system rules are never saved";
    EXPECT_TRUE(readOnly->form()->pathTextField->isReadOnly());
    readOnly->form()->pathTextField->setText(QStringLiteral("/changed/"));
    readOnly->saveClicked();
    ASSERT_TRUE(waitUntil([&] { return !readOnly; }));
    EXPECT_EQ(systemRule->path(), systemPath);
    EXPECT_FALSE(RulesDirtyFlag::isSet());

    const int policyRow = rowWhere(*model, [](const NVCRuleBase &rule) {
        return !rule.system && rule.processName() == QLatin1String("/usr/bin/git via /usr/share/code/code");
    });
    ASSERT_GE(policyRow, 0);
    window->openContextMenuForRow(policyRow, QPoint());
    window->newRuleMenuItem()->trigger();
    window->rulesEditorContextualMenu()->hide();
    editor = window->editPolicyWindowController();
    ASSERT_TRUE(editor);
    EXPECT_EQ(editor->form()->processNameTextField->text(), QStringLiteral("/usr/bin/git"));
    EXPECT_EQ(editor->form()->parentTextField->text(), QStringLiteral("/usr/share/code/code"));
    EXPECT_EQ(editor->form()->constraintTextField->text(), QStringLiteral("APPLE_PF_BINARY"));
}

// Every control a screen reader user meets has a name and takes keyboard focus.
TEST_F(RuleEditors, EveryControlHasANameAndTheKeyboardReachesIt)
{
    ASSERT_TRUE(unlock());
    window->newPolicyRule();
    window->newWatchRule();
    daemons->writeSharedFile(QStringLiteral("suggested.quiven"),
                             R"(allow prefix "/tmp/" "/usr/bin/env" r "" "" "0")");
    window->handleFileImport(daemons->sharedFolder() + QStringLiteral("suggested.quiven"));
    delegate->showPreferences();

    for (QWidget *shown : std::initializer_list<QWidget *>{
             window->editPolicyWindowController(), window->editWatchWindowController(),
             window->importWindowController(), delegate->preferencesWindow()}) {
        ASSERT_TRUE(shown);
        for (QWidget *control : shown->findChildren<QWidget *>()) {
            if (!qobject_cast<QAbstractButton *>(control) && !qobject_cast<QComboBox *>(control) &&
                !qobject_cast<QLineEdit *>(control) && !qobject_cast<QAbstractItemView *>(control))
                continue;
            // Parts of other controls (a table's headers) have no name of their own.
            if (control->window() != shown || control->objectName().isEmpty())
                continue;
            const QString name = control->accessibleName().isEmpty() ? control->property("text").toString()
                                                                     : control->accessibleName();
            EXPECT_FALSE(name.isEmpty()) << control->objectName().toStdString();
            EXPECT_TRUE(control->focusPolicy() & Qt::TabFocus) << control->objectName().toStdString();
        }
    }
}

class LockedRuleEditors : public RuleEditors
{
protected:
    LockedRuleEditors() { answer = QStringLiteral("deny"); }
};

TEST_F(LockedRuleEditors, ASaveTheAuthorityRefusesChangesNothing)
{
    const QByteArray before = daemons->userFile();
    EditPolicyWindowController *editor = newPolicyEditor(QStringLiteral("/usr/bin/cp"));
    editor->form()->pathTextField->setText(QStringLiteral("/tmp"));
    QSignalSpy saved(editor, &RuleEditorWindow::saveFinished);
    editor->saveClicked();
    ASSERT_TRUE(saved.wait(10000));
    EXPECT_FALSE(saved.first().first().toBool());
    EXPECT_TRUE(editor->isVisible());
    EXPECT_EQ(daemons->userFile(), before);
    EXPECT_FALSE(RulesDirtyFlag::isSet());
}
