#include "CallerIdentity.h"
#include "PrivateSystemBus.h"
#include "RequestLimits.h"
#include "RuleAdmission.h"
#include "RuleCoding.h"
#include "SystemBusAddress.h"
#include "logging/JournalMessageHandler.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

QList<QVariantMap> policyArchive(const std::function<void(PolicyRule &)> &fill)
{
    auto rule = std::make_shared<PolicyRule>();
    rule->path = QStringLiteral("/home/ann/");
    rule->processName = QStringLiteral("/usr/bin/vi");
    fill(*rule);
    return quiven::dbus::archivePolicyRules({rule});
}

TEST(RuleAdmission, RefusesEveryLineSeparatorAndQuoteNamingTheField)
{
    const QList<QChar> separators{u'\n', u'\v', u'\f', u'\r', QChar(0x85), QChar(0x2028), QChar(0x2029)};
    struct Field
    {
        const char *name;
        QString PolicyRule::*member;
        bool quoteRefused;
    };
    const Field fields[] = {{"path", &PolicyRule::path, true},
                            {"process", &PolicyRule::processName, true},
                            {"constraint", &PolicyRule::constraint, true},
                            {"tag", &PolicyRule::tag, false}};
    for (const Field &field : fields) {
        QList<QChar> refused = separators;
        if (field.quoteRefused)
            refused << u'"';
        for (const QChar c : refused) {
            QString error;
            const auto admitted = quiven::filterd::admitRules(
                {}, policyArchive([&](PolicyRule &rule) { rule.*field.member = u"a" + QString(c) + u"b"; }),
                &error);
            EXPECT_FALSE(admitted) << field.name << " U+" << std::hex << int(c.unicode());
            EXPECT_TRUE(error.contains(QLatin1String(field.name))) << error.toStdString();
        }
    }
    QString error;
    EXPECT_TRUE(quiven::filterd::admitRules(
        {}, policyArchive([](PolicyRule &rule) { rule.tag = QStringLiteral("say \"hi\"\tthere"); }), &error))
        << error.toStdString();
}

TEST(RuleAdmission, RefusesTextsBeyondTheCap)
{
    using quiven::filterd::kMaxRuleTextLength;
    QString error;
    EXPECT_TRUE(quiven::filterd::admitRules(
        {}, policyArchive([](PolicyRule &rule) { rule.path = QString(kMaxRuleTextLength, u'a'); }), &error));
    EXPECT_FALSE(quiven::filterd::admitRules({}, policyArchive([](PolicyRule &rule) {
                                                 rule.processShortName =
                                                     QString(kMaxRuleTextLength + 1, u'a');
                                             }),
                                             &error));
}

TEST(LogEscaping, ControlCharactersCannotStartALine)
{
    using quiven::logging::escapeControlCharacters;
    EXPECT_EQ(escapeControlCharacters(QStringLiteral("a\nb\rc\td")), QStringLiteral("a\\nb\\rc\\td"));
    EXPECT_EQ(escapeControlCharacters(QStringLiteral("x") + QChar(0x2028) + QChar(0x1b) + QChar(0x85)),
              QStringLiteral("x\\u2028\\u001b\\u0085"));
    EXPECT_EQ(escapeControlCharacters(QStringLiteral("/home/änn/ok")), QStringLiteral("/home/änn/ok"));
}

TEST(CallerIdentity, NoIdentityForACallerThatHasLeft)
{
    PrivateSystemBus bus;
    ASSERT_TRUE(bus.isRunning()) << bus.errorText().toStdString();
    const QDBusConnection daemon = bus.connect(QStringLiteral("daemon"));
    QString departed;
    {
        const QDBusConnection caller = bus.connect(QStringLiteral("caller"));
        departed = caller.baseService();
        ASSERT_EQ(quiven::service::callerUid(daemon, departed), ::getuid());
        QDBusConnection::disconnectFromBus(QStringLiteral("caller"));
    }
    // The lookup fails instead of giving 0 (root).
    ASSERT_TRUE(bus.waitForNameGone(departed));
    EXPECT_EQ(quiven::service::callerUid(daemon, departed), std::nullopt);
}

TEST(SystemBusAddress, TellsTheMachinesSystemBusFromPrivateOnes)
{
    struct Case
    {
        const char *address;
        bool real;
    };
    const Case cases[] = {
        {"", true},
        {"unix:path=/run/dbus/system_bus_socket", true},
        {"unix:path=/var/run/dbus/system_bus_socket", true},
        {"tcp:host=localhost,port=1;unix:path=/run/dbus/system_bus_socket", true},
        {"unix:path=/tmp/bus/run/dbus/system_bus_socket", false},
        {"unix:abstract=/tmp/dbus-xyz", false},
    };
    for (const Case &c : cases)
        EXPECT_EQ(quiven::service::isMachineSystemBus(QString::fromLatin1(c.address)), c.real) << c.address;
}

} // namespace
