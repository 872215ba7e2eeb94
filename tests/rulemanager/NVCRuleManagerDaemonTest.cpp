#include "DBusTypes.h"
#include "DaemonStack.h"
#include "LogCapture.h"
#include "NVCRuleManager.h"
#include "NVCSettingsClient.h"
#include "NVCSettingsPrivilegedClient.h"
#include "RoundTrip.h"
#include "WaitUntil.h"

#include <QDBusMessage>
#include <QDir>
#include <csignal>
#include <gtest/gtest.h>
#include <thread>

namespace {

PolicyRulePtr allowRule(const QString &path)
{
    auto rule = std::make_shared<PolicyRule>();
    rule->policyClass = 0;
    rule->policyType = 1;
    rule->operations = 3;
    rule->setPath(path);
    rule->setProcessName(QStringLiteral("/usr/bin/cat"));
    return rule;
}

struct RecordingListener : NVCPolicyListener
{
    RecordingListener(QStringList *journal, const QString &name)
        : journal(journal)
        , name(name)
    {}
    QStringList *journal;
    QString name;

    void policyChangedWithWatchRules(const QList<WatchRulePtr> &watch,
                                     const QList<PolicyRulePtr> &policy) override
    {
        journal->append(QStringLiteral("%1:%2/%3").arg(name).arg(watch.size()).arg(policy.size()));
    }
};

struct Authorization
{
    QByteArray form;
    OSStatus status = 1;
    NVCQUIVENRuleClient::Release release;
};

class RuleManagerSave : public ::testing::Test
{
protected:
    void start(const QString &authAnswer, bool noAdminsMaySave = false)
    {
        daemons.writeSystemFile(QStringLiteral("quiven.rc"),
                                "allow path \"/system/rule\" \"any\" r \"\" \"\" \"0\"\n");
        daemons.writeSettings(
            {{QString::fromLatin1(NVCSettingsClient::policySaveNoAdminsKey), noAdminsMaySave}});
        ASSERT_TRUE(daemons.start(authAnswer)) << daemons.failureText().toStdString();
        connection = daemons.bus().connect(QStringLiteral("rule-manager"));
        manager = makeLoadedManager();
        ASSERT_TRUE(manager);
        manager->setLocalPolicyUpdateListener([this] { ++updates; });
    }

    std::unique_ptr<NVCRuleManager> makeLoadedManager()
    {
        auto made = std::make_unique<NVCRuleManager>(connection, NVCNamespace(QString()));
        std::optional<bool> loaded;
        made->loadSystemRuleSetWithCallback([&](bool ok) { loaded = ok; });
        // The cached settings decide the no-administrator path.
        if (!waitUntil([&] { return loaded && !made->settingsClient()->systemSettings().isEmpty(); }) ||
            !waitUntil([&] { return made->quivenClient()->isSubscriptionAlive(policyChanged); }))
            return nullptr;
        return made;
    }

    Authorization authorize()
    {
        std::optional<Authorization> result;
        manager->authorizeWithCallback(
            [&](const QByteArray &form, OSStatus status, const NVCQUIVENRuleClient::Release &release) {
                result = Authorization{form, status, release};
            });
        waitUntil([&] { return result.has_value(); });
        return result.value_or(Authorization{});
    }

    const QString policyChanged = QString::fromLatin1(NVCQUIVENRuleClient::policyChangedProtocol);
    DaemonStack daemons;
    QDBusConnection connection{QString()};
    std::unique_ptr<NVCRuleManager> manager;
    int updates = 0;
};

TEST_F(RuleManagerSave, AuthorizedSavesArePersistedForEveryListenerAndForgedOnesRefused)
{
    start(QStringLiteral("grant"));
    std::unique_ptr<NVCRuleManager> other = makeLoadedManager();
    ASSERT_TRUE(other);
    int otherUpdates = 0;
    other->setLocalPolicyUpdateListener([&] { ++otherUpdates; });

    manager->addPolicyRule(allowRule(QStringLiteral("/home/ann/forged")));
    bool finalized = false;
    manager->saveUserRulesWithAuthorizationExtRef(QByteArray(32, 'x'), errAuthorizationSuccess,
                                                  [&] { finalized = true; });
    ASSERT_TRUE(waitUntil([&] { return finalized; }));
    ASSERT_TRUE(filterRoundTrip(connection));
    EXPECT_EQ(updates, 0);
    EXPECT_FALSE(daemons.userFile().contains("/home/ann/forged"));

    manager->deletePolicyRule(manager->userPolicies().first());
    manager->addPolicyRule(allowRule(QStringLiteral("/home/ann/saved")));
    const Authorization authorization = authorize();
    ASSERT_EQ(authorization.status, errAuthorizationSuccess);
    finalized = false;
    manager->writeToCurrentUserConfigurationWithAuthForm(authorization.form, authorization.status,
                                                         [&] { finalized = true; });
    ASSERT_TRUE(waitUntil([&] { return finalized && updates == 1 && otherUpdates == 1; }))
        << daemons.failureText().toStdString();
    ASSERT_TRUE(authorization.release);
    authorization.release();

    EXPECT_TRUE(daemons.userFile().contains("/home/ann/saved"));
    for (const NVCRuleManager *seen : {manager.get(), other.get()}) {
        ASSERT_EQ(seen->userPolicies().size(), 1);
        EXPECT_EQ(seen->userPolicies().first()->path(), QStringLiteral("/home/ann/saved"));
        // The system rules are read again, not lost, when the daemon's ruleset is merged.
        EXPECT_EQ(seen->compositeIndex().size(), 2);
    }
}

// Every status but success takes the same path; which status a refusal gives is the backends' test.
TEST_F(RuleManagerSave, CancelledAuthorizationSendsNothing)
{
    start(QStringLiteral("cancel"));
    manager->addPolicyRule(allowRule(QStringLiteral("/home/ann/refused")));
    const Authorization authorization = authorize();
    EXPECT_EQ(authorization.status, errAuthorizationCanceled);
    bool finalized = false;
    manager->writeToCurrentUserConfigurationWithAuthForm(authorization.form, authorization.status,
                                                         [&] { finalized = true; });
    ASSERT_TRUE(filterRoundTrip(connection));
    EXPECT_FALSE(finalized);
    EXPECT_FALSE(daemons.userFile().contains("/home/ann/refused"));
}

TEST_F(RuleManagerSave, NonAdministratorSavesAskNothingAndSurviveDaemonRestartsButNotALostBus)
{
    LogCapture log;
    // Any question to the authority would be refused.
    start(QStringLiteral("deny"), true);
    // Listeners of one rule client share one subscription, which ends with the last of them.
    NVCQUIVENRuleClient client(connection, NVCNamespace(QString()));
    // Saves one policy rule and one watch rule; the daemon then announces them.
    const auto save = [&] {
        auto watch = std::make_shared<WatchRule>();
        watch->setPath(QStringLiteral("/etc/"));
        watch->setProcessName(QStringLiteral("any"));
        auto policy = allowRule(QStringLiteral("/home/ann/a"));
        const auto answer = answerOf<QDBusError>(
            [&](auto done) { client.setUserWatchRules({watch}, {policy}, {}, done, {}); });
        return answer && !answer->isValid();
    };
    QStringList journal;
    RecordingListener first(&journal, QStringLiteral("first"));
    RecordingListener second(&journal, QStringLiteral("second"));
    client.addPolicyListener(&first);
    const std::optional<NVCListenerEndpoint> endpoint = client.endpointForProtocol(policyChanged);
    client.addPolicyListener(&second);
    ASSERT_TRUE(endpoint);
    EXPECT_EQ(client.endpointForProtocol(policyChanged), endpoint);
    ASSERT_TRUE(waitUntil([&] { return client.isSubscriptionAlive(policyChanged); }));

    ASSERT_TRUE(save());
    ASSERT_TRUE(waitUntil([&] { return journal.size() >= 2; }));
    ASSERT_TRUE(filterRoundTrip(connection));
    EXPECT_EQ(journal, (QStringList{"first:1/1", "second:1/1"}));
    // Written through a temporary file that is renamed, so nothing else is left behind.
    EXPECT_EQ(QDir(daemons.sharedFolder()).entryList(QDir::Files), QStringList{"local.quiven.rc"});

    client.removePolicyListener(&first);
    EXPECT_TRUE(client.endpointForProtocol(policyChanged));
    client.removePolicyListener(&second);
    EXPECT_FALSE(client.endpointForProtocol(policyChanged));
    journal.clear();
    ASSERT_TRUE(save());
    ASSERT_TRUE(filterRoundTrip(connection));
    EXPECT_TRUE(journal.isEmpty());

    // A stopping daemon tells terminate subscribers to go quiet; this client is not one of them.
    daemons.filterd().terminate();
    ASSERT_TRUE(daemons.startFilterd()) << daemons.failureText().toStdString();
    EXPECT_FALSE(client.serviceTerminated());
    EXPECT_TRUE(save());
    updates = 0;

    const Authorization authorization = authorize();
    EXPECT_EQ(authorization.status, errAuthorizationSuccess);
    EXPECT_TRUE(authorization.form.isNull());
    EXPECT_FALSE(authorization.release);
    manager->quivenClient()->setRetryDelays(std::chrono::milliseconds(100), std::chrono::milliseconds(100));
    manager->addPolicyRule(allowRule(QStringLiteral("/home/ann/restart")));

    // The daemon takes the call but cannot answer it before it dies.
    ::kill(pid_t(daemons.filterd().pid()), SIGSTOP);
    bool lostFinalized = false;
    manager->saveUserRulesWithAuthorizationExtRef({}, errAuthorizationSuccess, [&] { lostFinalized = true; });
    // The bus answers this only after it has passed on the save sent before it.
    connection.call(QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId")));
    daemons.filterd().kill9();
    ASSERT_TRUE(waitUntil([&] { return !manager->quivenClient()->isSubscriptionAlive(policyChanged); }));

    ASSERT_TRUE(daemons.startFilterd()) << daemons.failureText().toStdString();
    ASSERT_TRUE(waitUntil([&] { return manager->quivenClient()->isSubscriptionAlive(policyChanged); }));
    bool finalized = false;
    manager->saveUserRulesWithAuthorizationExtRef(authorization.form, authorization.status,
                                                  [&] { finalized = true; });
    ASSERT_TRUE(waitUntil([&] { return finalized && updates == 1; })) << daemons.failureText().toStdString();
    EXPECT_FALSE(lostFinalized);
    EXPECT_TRUE(daemons.userFile().contains("/home/ann/restart"));
    EXPECT_FALSE(daemons.authority().output().contains("Refused"));
    // The manager names only its own step; the window names the activity.
    EXPECT_TRUE(log.contains("Saving user rules to daemon"));
    EXPECT_FALSE(log.contains("QUIVEN user policy")) << log.dump();

    // Without a bus a save is not dropped: it fails on the connection-error path, as a read does.
    daemons.bus().stop();
    const qsizetype errorsBefore = log.count("XPC error: ");
    finalized = false;
    manager->saveUserRulesWithAuthorizationExtRef({}, errAuthorizationSuccess, [&] { finalized = true; });
    EXPECT_TRUE(waitUntil([&] { return log.count("XPC error: ") > errorsBefore; })) << log.dump();
    const auto failure = answerOf<QDBusError>([&](auto done) {
        manager->quivenClient()->getUserRuleset(
            [](const QList<WatchRulePtr> &, const QList<PolicyRulePtr> &) {}, done);
    });
    EXPECT_EQ(failure.value_or(QDBusError()).type(), QDBusError::Disconnected);
    EXPECT_FALSE(finalized);
}

// The calls the windows make from worker threads: the initial load, the
// system-ruleset and learning-mode setters (which block to ask for an
// authorization) and authorizeWithCallback. All of them answer on the thread
// that owns the clients.
TEST_F(RuleManagerSave, WorkerThreadCallsOfTheWindowsAnswerOnTheOwnerThread)
{
    start(QStringLiteral("grant"));
    QThread *const owner = QThread::currentThread();

    NVCRuleManager windows(connection, NVCNamespace(QString()));
    const auto loaded = answerOfWorkerCall<bool>(
        [&](auto answer) { windows.reloadCurrentUserConfigurationWithCallback(answer); });
    ASSERT_TRUE(loaded);
    EXPECT_TRUE(loaded->first);
    EXPECT_EQ(loaded->second, owner);
    EXPECT_EQ(windows.compositeIndex().size(), 1);

    // Without an authorization form the setters ask the authority themselves, blocking the worker.
    NVCSettingsPrivilegedClient privileged(connection, NVCNamespace(QString()));
    privileged.customizedAuthMessage = QStringLiteral("Change the firewall settings");
    std::vector<std::pair<QThread *, QDBusError>> answers;
    const auto record = [&](const QDBusError &error) {
        answers.emplace_back(QThread::currentThread(), error);
    };
    std::thread([&] {
        privileged.setQUIVENSystemRuleSet(2, std::nullopt, record);
        privileged.setQUIVENLearningMode(true, std::nullopt, record);
    }).join();
    ASSERT_TRUE(waitUntil([&] { return answers.size() == 2; }));
    for (const auto &[thread, error] : answers) {
        EXPECT_EQ(thread, owner);
        EXPECT_FALSE(error.isValid()) << error.message().toStdString();
    }
    // The manager's own settings client follows the change notification.
    ASSERT_TRUE(waitUntil([&] {
        const QVariantMap settings = windows.settingsClient()->systemSettings();
        return settings.value(QString::fromLatin1(NVCSettingsClient::rulesetInUseKey)).toInt() == 2 &&
               settings.value(QString::fromLatin1(NVCSettingsClient::learningModeKey)).toBool();
    }));

    OSStatus status = -1;
    QThread *authorizeThread = nullptr;
    std::thread([&] {
        windows.authorizeWithCallback(
            [&](const QByteArray &, OSStatus answer, const NVCQUIVENRuleClient::Release &release) {
                authorizeThread = QThread::currentThread();
                status = answer;
                release();
            });
    }).join();
    ASSERT_TRUE(waitUntil([&] { return status != -1; }));
    EXPECT_EQ(authorizeThread, owner);
    EXPECT_EQ(status, errAuthorizationSuccess);
}

// Answers the ruleset request with a record the client must refuse.
class UndecodableRulesetDaemon : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.norvalis.NVCQUIVENDaemonRuleProtocol")
public Q_SLOTS:
    QList<QVariantMap> getUserRuleset(QList<QVariantMap> &policyRules)
    {
        policyRules = {{{QStringLiteral("path"), 5}}};
        return {};
    }
};

TEST(RuleManagerLink, AnUndecodableRulesetIsLoggedAndEndsTheLoad)
{
    DaemonStack daemons;
    LogCapture log;
    ASSERT_TRUE(daemons.startSettingsd()) << daemons.failureText().toStdString();
    quiven::dbus::registerTypes();
    QDBusConnection daemonSide = daemons.bus().connect(QStringLiteral("undecodable-filter"));
    UndecodableRulesetDaemon filter;
    ASSERT_TRUE(daemonSide.registerObject(QStringLiteral("/com/norvalis/nrquivend"), &filter,
                                          QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(daemonSide.registerService(QStringLiteral("com.norvalis.nrquivend")));

    NVCRuleManager loading(daemons.bus().connect(QStringLiteral("rule-manager")), NVCNamespace(QString()));
    bool called = false;
    loading.loadSystemRuleSetWithCallback([&](bool) { called = true; });
    EXPECT_TRUE(log.waitFor(QStringLiteral("XPC error: rule 0: The archived rule's value for \"path\"")))
        << log.dump();
    EXPECT_FALSE(called);
    EXPECT_TRUE(loading.userPolicies().isEmpty());
    // The manager unsubscribes synchronously when it goes; this thread serves that daemon.
    daemonSide.unregisterService(QStringLiteral("com.norvalis.nrquivend"));
}

} // namespace

#include "NVCRuleManagerDaemonTest.moc"
