#include "ApplicationFixture.h"
#include "DGPreferencesWindow.h"
#include "PreferencesFile.h"
#include "PreferencesPropertyList.h"
#include "ProductFolders.h"
#include "TestFiles.h"
#include "ui_DGPreferencesWindow.h"

#include <QTemporaryDir>

class PreferencesWindow : public ApplicationFixture
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(startDaemons()) << daemons->failureText().toStdString();
        QFile::remove(daemons->sharedFolder() + QStringLiteral("failsafe.rc"));
        QFile::remove(ProductFolders::preferencesFile());
        create();
        // A stand-in for pkexec that only notes what it was asked to run.
        const QString fake = tools.filePath(QStringLiteral("pkexec"));
        ASSERT_TRUE(writeFile(fake, "#!/bin/sh\necho \"$@\" > \"$(dirname \"$0\")/pkexec.ran\"\n"));
        QFile::setPermissions(fake, QFile::permissions(fake) | QFile::ExeOwner);
        previousPath = qgetenv("PATH");
        qputenv("PATH", tools.path().toUtf8() + ':' + previousPath);
    }

    void TearDown() override
    {
        qputenv("PATH", previousPath);
        ApplicationFixture::TearDown();
    }

    QString ranFile() const { return tools.filePath(QStringLiteral("pkexec.ran")); }

    QTemporaryDir tools;
    QByteArray previousPath;
};

TEST_F(PreferencesWindow, WithoutAPropertyListTheDefaultsShowReadOnlyForOtherUsers)
{
    DGPreferencesWindow preferences(false, {});
    Ui::DGPreferencesWindow *form = preferences.form();
    EXPECT_TRUE(form->monitorWebcamCheckbox->isChecked()) << "on by default";

    for (QWidget *control : preferences.findChildren<QWidget *>()) {
        if ((qobject_cast<QCheckBox *>(control) || control == form->levelOfDetailPopUpButton) &&
            control != form->useTVAL) {
            EXPECT_FALSE(control->isEnabled()) << control->objectName().toStdString();
        }
    }
    preferences.clickedOK();
    EXPECT_FALSE(QFile::exists(ProductFolders::preferencesFile()));
}

TEST_F(PreferencesWindow, AnAdministratorSavesTwoForOffKeepsUnknownKeysAndAsksForTheFolderMode)
{
    ASSERT_TRUE(writePreferencesPropertyList(ProductFolders::preferencesFile(),
                                             {{QStringLiteral("policy.global.webcam"), 1},
                                              {QStringLiteral("access.user.detail"), 2},
                                              {QStringLiteral("ui.prompts.remote"), 1},
                                              {QStringLiteral("filter.custom"), QStringLiteral("kept")}}));
    auto preferences = std::make_unique<DGPreferencesWindow>(
        true, [this](QObject *context, const std::function<void(bool)> &done) {
            delegate->performAuthentication(context, done);
        });
    QSignalSpy answered(preferences.get(), &DGPreferencesWindow::authenticationFinished);
    ASSERT_TRUE(answered.wait(10000) && preferences->authenticated())
        << "the administrator passes the authority";
    Ui::DGPreferencesWindow *form = preferences->form();
    EXPECT_TRUE(form->allowRemoteAdministrationCheckBox->isChecked());
    form->monitorWebcamCheckbox->click();
    form->useTVAL->setChecked(false);
    form->requireAuthenticationCheckBox->click();
    const bool wasWritable = form->createRulesCheckBox->isChecked();
    form->createRulesCheckBox->click();
    EXPECT_EQ(form->restrictRulesCheckBox->isEnabled(), !wasWritable);

    QSignalSpy changed(preferences.get(), &DGPreferencesWindow::folderPermissionsChanged);
    preferences->clickedOK();
    ASSERT_TRUE(changed.wait(10000));
    EXPECT_EQ(readFile(ranFile()).trimmed(),
              QStringLiteral("/bin/chmod %1 %2")
                  .arg(wasWritable ? QStringLiteral("775") : QStringLiteral("777"),
                       ProductFolders::sharedDirectory())
                  .toUtf8());
    const QVariantMap saved = readPreferencesFile(ProductFolders::preferencesFile()).value_or(QVariantMap());
    EXPECT_EQ(saved.value(QStringLiteral("policy.global.webcam")).toInt(), 2);
    EXPECT_EQ(saved.value(QStringLiteral("ui.prompts.authenticate")).toInt(), 1);
    EXPECT_EQ(saved.value(QStringLiteral("ui.prompts.oob")).toInt(), 2);
    EXPECT_EQ(saved.value(QStringLiteral("policy.use-tval"), -1).toInt(), 0);
    EXPECT_EQ(saved.value(QStringLiteral("filter.custom")).toString(), QStringLiteral("kept"));
    // rwx for owner and group, r-x for others.
    EXPECT_EQ(QFileInfo(ProductFolders::preferencesFile()).permissions(), QFile::Permissions(0x7775));
    EXPECT_EQ(saved.value(QStringLiteral("access.user.create")).toBool(), !wasWritable);
    EXPECT_TRUE(RulesDirtyFlag::isSet());
}

TEST_F(PreferencesWindow, StartedForThePreferencesOnlyTheyShowAndClosingThemQuits)
{
    delegate.reset();
    create({QStringLiteral("quiven-config"), QStringLiteral("-settings")});
    QSignalSpy terminated(delegate.get(), &AppDelegate::terminate);
    delegate->applicationDidFinishLaunching();
    ASSERT_TRUE(delegate->preferencesWindow() && delegate->preferencesWindow()->isVisible());
    EXPECT_FALSE(window->isVisible());
    ASSERT_TRUE(waitUntil([this] { return !delegate->waitViewVisible(); }, 15000));
    delegate->preferencesWindow()->close();
    EXPECT_TRUE(terminated.count() > 0 || terminated.wait());
}
