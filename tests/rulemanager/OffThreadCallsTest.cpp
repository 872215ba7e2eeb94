// The calls the windows make from worker threads: the initial load, the
// system-ruleset and learning-mode setters (which block to ask for an
// authorization) and authorizeWithCallback. All of them answer on the thread
// that owns the clients.
#include "DaemonStack.h"
#include "NVCRuleManager.h"
#include "NVCSettingsPrivilegedClient.h"
#include "WaitUntil.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

TEST(OffThreadCalls, WorkerThreadCallsOfTheWindowsAnswerOnTheOwnerThread)
{
    DaemonStack daemons;
    daemons.writeSystemFile(QStringLiteral("quiven.rc"),
                            "allow path \"/system/rule\" \"any\" r \"\" \"\" \"0\"\n");
    daemons.writeSystemFile(QStringLiteral("paranoid.rc"),
                            "deny path \"/system/paranoid\" \"any\" r \"\" \"\" \"0\"\n");
    ASSERT_TRUE(daemons.start(QStringLiteral("grant"))) << daemons.failureText().toStdString();
    const QDBusConnection connection = daemons.bus().connect(QStringLiteral("windows"));
    QThread *const owner = QThread::currentThread();

    NVCRuleManager manager(connection, NVCNamespace(QString()));
    std::optional<bool> loaded;
    QThread *loadThread = nullptr;
    std::thread([&] {
        manager.reloadCurrentUserConfigurationWithCallback([&](bool ok) {
            loadThread = QThread::currentThread();
            loaded = ok;
        });
    }).join();
    ASSERT_TRUE(waitUntil([&] { return loaded.has_value(); }));
    EXPECT_TRUE(*loaded);
    EXPECT_EQ(loadThread, owner);
    EXPECT_EQ(manager.compositeIndex().size(), 1);

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
        const QVariantMap settings = manager.settingsClient()->systemSettings();
        return settings.value(QString::fromLatin1(NVCSettingsClient::rulesetInUseKey)).toInt() == 2 &&
               settings.value(QString::fromLatin1(NVCSettingsClient::learningModeKey)).toBool();
    }));

    OSStatus status = -1;
    QThread *authorizeThread = nullptr;
    std::thread([&] {
        manager.authorizeWithCallback(
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

} // namespace
