#include "NVCQUIVENRuleClient.h"

#include "DaemonStack.h"
#include "NVCSettingsClient.h"
#include "RoundTrip.h"
#include "WaitUntil.h"

#include <QDir>
#include <gtest/gtest.h>

namespace {

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

class RuleClient : public ::testing::Test
{
protected:
    void SetUp() override
    {
        daemons.writeSettings({{QString::fromLatin1(NVCSettingsClient::policySaveNoAdminsKey), true}});
        ASSERT_TRUE(daemons.start()) << daemons.failureText().toStdString();
        connection = daemons.bus().connect(QStringLiteral("rule-client"));
        client = std::make_unique<NVCQUIVENRuleClient>(connection, NVCNamespace(QString()));
    }

    // Saves one policy rule and one watch rule; the daemon then announces them.
    bool save()
    {
        auto watch = std::make_shared<WatchRule>();
        watch->path = QStringLiteral("/etc/");
        watch->processName = QStringLiteral("any");
        auto policy = std::make_shared<PolicyRule>();
        policy->path = QStringLiteral("/home/ann/a");
        policy->processName = QStringLiteral("any");
        const auto answer = answerOf<QDBusError>(
            [&](auto done) { client->setUserWatchRules({watch}, {policy}, {}, done, {}); });
        return answer && !answer->isValid();
    }

    const QString protocol = QString::fromLatin1(NVCQUIVENRuleClient::policyChangedProtocol);
    DaemonStack daemons;
    QDBusConnection connection{QString()};
    std::unique_ptr<NVCQUIVENRuleClient> client;
};

TEST_F(RuleClient, ListenersShareOneSubscriptionAndTheClientOutlivesADaemonRestart)
{
    QStringList journal;
    RecordingListener first(&journal, QStringLiteral("first"));
    RecordingListener second(&journal, QStringLiteral("second"));
    client->addPolicyListener(&first);
    const std::optional<NVCListenerEndpoint> endpoint = client->endpointForProtocol(protocol);
    client->addPolicyListener(&second);
    ASSERT_TRUE(endpoint);
    EXPECT_EQ(client->endpointForProtocol(protocol), endpoint);
    ASSERT_TRUE(waitUntil([&] { return client->isSubscriptionAlive(protocol); }));

    ASSERT_TRUE(save());
    ASSERT_TRUE(waitUntil([&] { return journal.size() >= 2; }));
    ASSERT_TRUE(filterRoundTrip(connection));
    EXPECT_EQ(journal, (QStringList{"first:1/1", "second:1/1"}));
    // Written through a temporary file that is renamed, so nothing else is left behind.
    EXPECT_EQ(QDir(daemons.sharedFolder()).entryList(QDir::Files), QStringList{"local.quiven.rc"});

    client->removePolicyListener(&first);
    EXPECT_TRUE(client->endpointForProtocol(protocol));
    client->removePolicyListener(&second);
    EXPECT_FALSE(client->endpointForProtocol(protocol));
    journal.clear();
    ASSERT_TRUE(save());
    ASSERT_TRUE(filterRoundTrip(connection));
    EXPECT_TRUE(journal.isEmpty());

    // A stopping daemon tells terminate subscribers to go quiet; this client is not one of them.
    daemons.filterd().terminate();
    ASSERT_TRUE(daemons.startFilterd()) << daemons.failureText().toStdString();
    EXPECT_FALSE(client->serviceTerminated());
    EXPECT_TRUE(save());
}

} // namespace
