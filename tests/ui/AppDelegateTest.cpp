#include "ApplicationFixture.h"
#include "NVCQUIVENClient.h"
#include "RulesTableModel.h"

#include <QPushButton>

TEST_F(ApplicationFixture, LoadsBehindTheOverlayAndAnswersAReloadAskedMeanwhile)
{
    ASSERT_TRUE(startDaemons()) << daemons->failureText().toStdString();
    create();
    delegate->applicationDidFinishLaunching();
    ASSERT_TRUE(delegate->waitViewVisible());

    EXPECT_EQ(answerOf<bool>([&](auto done) { delegate->reloadRulesWithCallback(done); }, 15000), true)
        << "the queued request gets the load's result" << daemons->failureText().toStdString();
    EXPECT_FALSE(delegate->waitViewVisible());
    EXPECT_EQ(quint64(window->model()->rowCount()), manager->totalRules(true));
}

TEST_F(ApplicationFixture, AFailedSettingsFetchEndsInAnAlertAndLeavesTheWindowUsable)
{
    ASSERT_TRUE(startDaemons());
    daemons->settingsd().kill9();
    create();
    delegate->setLoadTimeout(std::chrono::milliseconds(300));
    QSignalSpy alerts(delegate.get(), &AppDelegate::ruleReloadAlertShown);
    delegate->applicationDidFinishLaunching();
    ASSERT_TRUE(alerts.wait(15000));
    EXPECT_TRUE(alert(QStringLiteral("Failed to reload")));
    EXPECT_FALSE(delegate->waitViewVisible());
}

TEST_F(ApplicationFixture, LockingAgainAndQuittingDirtyApplyTheRulesFirst)
{
    ASSERT_TRUE(startDaemons());
    ASSERT_TRUE(launch());
    QSignalSpy terminations(delegate.get(), &AppDelegate::terminate);
    delegate->requestTermination();
    EXPECT_EQ(terminations.size(), 1) << "a clean application quits at once";

    QPushButton *lock = window->authorizationButton();
    QSignalSpy changes(delegate.get(), &NVCAuthorizationDelegate::isAuthorizedChanged);
    lock->click();
    ASSERT_TRUE(waitUntil([&] { return changes.size() >= 2; })) << "the authority answered";
    EXPECT_TRUE(delegate->isAuthorized());
    lock->click();
    EXPECT_FALSE(delegate->isAuthorized());
    EXPECT_TRUE(delegate->waitViewVisible()) << "locking reloads the rules";
    QMessageBox *reloaded = alert(QStringLiteral("Rules reloaded"));
    ASSERT_TRUE(reloaded);
    reloaded->accept();

    RulesDirtyFlag::set(true);
    delegate->requestTermination();
    EXPECT_TRUE(delegate->waitViewVisible()) << "the rules are applied first";
    reloaded = alert(QStringLiteral("Rules reloaded"));
    ASSERT_TRUE(reloaded);
    EXPECT_FALSE(RulesDirtyFlag::isSet());
    EXPECT_EQ(terminations.size(), 1) << "not before the alert is dismissed";
    reloaded->accept();
    EXPECT_TRUE(terminations.wait());

    RulesDirtyFlag::set(true);
    daemons->filterd().kill9();
    ASSERT_TRUE(waitUntil([this] { return !delegate->quivenClient()->isConnected(); }));
    delegate->requestTermination();
    QMessageBox *failed = alert(QStringLiteral("Rules were not reloaded"));
    ASSERT_TRUE(failed);
    failed->accept();
    EXPECT_TRUE(RulesDirtyFlag::isSet());
    EXPECT_EQ(terminations.size(), 2) << "a failed reload keeps the application running";
}
