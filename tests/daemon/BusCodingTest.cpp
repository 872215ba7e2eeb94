#include "DBusTypes.h"
#include "NVCUserPolicyResponse.h"
#include "PolicyRule.h"
#include "PrivateSystemBus.h"
#include "RuleCoding.h"
#include "WatchRule.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <gtest/gtest.h>

namespace {

// A name root may own under the product bus policy.
constexpr auto kEchoService = "com.norvalis.nrsettingsd";

// Keeps what arrives, exactly as the bus delivered it.
class Receiver : public QObject
{
    Q_OBJECT
public:
    QList<QVariantMap> watchRules, policyRules;
    QVariantMap response, query;

public Q_SLOTS:
    void take(const QList<QVariantMap> &watch, const QList<QVariantMap> &policy,
              const QVariantMap &sentResponse, const QVariantMap &sentQuery)
    {
        std::tie(watchRules, policyRules, response, query) = std::tie(watch, policy, sentResponse, sentQuery);
    }
};

TEST(BusCoding, RulesAndAResponseWithItsNestedQueryArriveWhole)
{
    quiven::dbus::registerTypes();
    PrivateSystemBus bus;
    ASSERT_TRUE(bus.isRunning()) << bus.errorText().toStdString();
    QDBusConnection server = bus.connect(QStringLiteral("echo-server"));
    Receiver receiver;
    ASSERT_TRUE(server.interface()->registerService(QString::fromLatin1(kEchoService)).isValid());
    ASSERT_TRUE(server.registerObject(QStringLiteral("/echo"), &receiver, QDBusConnection::ExportAllSlots));

    auto watch = std::make_shared<WatchRule>();
    watch->setPath(QStringLiteral("/home/ana/Müsik/"));
    watch->setConstraint(QString());
    watch->setTag(QStringLiteral("backup"));
    auto policy = std::make_shared<PolicyRule>();
    policy->system = true;
    policy->sequence = 1234567890123;
    NVCPolicyQuery query;
    query.pid = -1;
    query.flags = 0xffffffffu;
    query.teamId = QStringLiteral("");
    query.sha1 = QByteArray(20, '\x01');
    query.deadline = 0xfffffffffffffff0ull;
    query.iconData = QByteArray("icon");
    NVCUserPolicyResponse response;
    response.duration = -1;
    response.userData = QStringLiteral("über");
    response.query = query;
    QDBusMessage message = QDBusMessage::createMethodCall(
        QString::fromLatin1(kEchoService), QStringLiteral("/echo"), QString(), QStringLiteral("take"));
    message << QVariant::fromValue(quiven::dbus::archiveWatchRules({watch}))
            << QVariant::fromValue(quiven::dbus::archivePolicyRules({policy})) << response.archive()
            << query.archive();
    const QDBusMessage reply = bus.connect(QStringLiteral("echo-client")).call(message, QDBus::BlockWithGui);
    ASSERT_NE(reply.type(), QDBusMessage::ErrorMessage) << reply.errorMessage().toStdString();

    QList<WatchRulePtr> watchRules;
    QList<PolicyRulePtr> policyRules;
    QString error;
    ASSERT_TRUE(quiven::dbus::unarchiveWatchRules(receiver.watchRules, &watchRules, &error) &&
                quiven::dbus::unarchivePolicyRules(receiver.policyRules, &policyRules, &error))
        << error.toStdString();
    ASSERT_TRUE(watchRules.size() == 1 && policyRules.size() == 1);
    EXPECT_TRUE(watchRules[0]->isEqualTo(*watch) && watchRules[0]->tag() == watch->tag());
    EXPECT_TRUE(watchRules[0]->constraint().isNull()) << "an absent constraint stays absent";
    EXPECT_TRUE(policyRules[0]->isEqualTo(*policy) && policyRules[0]->system);
    EXPECT_EQ(policyRules[0]->sequence, 1234567890123);
    EXPECT_FALSE(policyRules[0]->constraint().isNull()) << "an empty constraint stays empty";

    const auto arrived = NVCUserPolicyResponse::unarchive(receiver.response, &error);
    ASSERT_TRUE(arrived && arrived->query) << error.toStdString();
    EXPECT_EQ(arrived->duration, -1);
    EXPECT_EQ(arrived->userData, QStringLiteral("über"));
    EXPECT_TRUE(arrived->path.isNull());
    EXPECT_EQ(*arrived->query, query);
    const auto alone = NVCPolicyQuery::unarchive(receiver.query, &error);
    ASSERT_TRUE(alone) << error.toStdString();
    EXPECT_EQ(*alone, query);
    EXPECT_TRUE(alone->uuid == query.uuid && alone->deadline == query.deadline && alone->iconData == "icon");
    EXPECT_TRUE(alone->teamId.isEmpty() && !alone->teamId.isNull());
}

} // namespace

#include "BusCodingTest.moc"
