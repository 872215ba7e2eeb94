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
    rule->setPath(QStringLiteral("/home/ann/"));
    rule->setProcessName(QStringLiteral("/usr/bin/vi"));
    fill(*rule);
    return quiven::dbus::archivePolicyRules({rule});
}

TEST(RuleAdmission, RefusesLineSeparatorsQuotesAndLongTextsNamingTheField)
{
    const auto admit = [](const std::function<void(PolicyRule &)> &fill) {
        QString error;
        return quiven::filterd::admitRules({}, policyArchive(fill), &error) ? QStringLiteral("admitted")
                                                                            : error;
    };
    using Setter = std::function<void(PolicyRule &, const QString &)>;
    const std::pair<const char *, Setter> fields[] = {
        {"path", [](PolicyRule &rule, const QString &text) { rule.setPath(text); }},
        {"process", [](PolicyRule &rule, const QString &text) { rule.setProcessName(text); }},
        {"constraint", [](PolicyRule &rule, const QString &text) { rule.setConstraint(text); }},
        {"tag", [](PolicyRule &rule, const QString &text) { rule.setTag(text); }}};
    for (const auto &[name, set] : fields) {
        // A quote is kept out of every quoted field; the tag drops it on writing.
        for (const QChar c : {QChar(u'\n'), QChar(u'\v'), QChar(u'\f'), QChar(u'\r'), QChar(0x85),
                              QChar(0x2028), QChar(0x2029), QChar(u'"')}) {
            const QString answer = admit([&](PolicyRule &rule) { set(rule, u"a" + QString(c) + u"b"); });
            if (c == u'"' && QLatin1String(name) == QLatin1String("tag"))
                EXPECT_EQ(answer, QStringLiteral("admitted"));
            else
                EXPECT_TRUE(answer.contains(QLatin1String(name)))
                    << name << " U+" << std::hex << int(c.unicode());
        }
    }
    using quiven::filterd::kMaxRuleTextLength;
    EXPECT_EQ(admit([](PolicyRule &rule) { rule.setPath(QString(kMaxRuleTextLength, u'a')); }),
              QStringLiteral("admitted"));
    EXPECT_NE(
        admit([](PolicyRule &rule) { rule.setProcessShortName(QString(kMaxRuleTextLength + 1, u'a')); }),
        QStringLiteral("admitted"));
}

TEST(LogEscaping, ControlCharactersCannotStartALine)
{
    using quiven::logging::escapeControlCharacters;
    EXPECT_EQ(
        escapeControlCharacters(QStringLiteral("a\nb\rc\td") + QChar(0x2028) + QChar(0x1b) + QChar(0x85)),
        QStringLiteral("a\\nb\\rc\\td\\u2028\\u001b\\u0085"));
    EXPECT_EQ(escapeControlCharacters(QStringLiteral("/home/änn/ok")), QStringLiteral("/home/änn/ok"));
}

TEST(CallerIdentity, NoIdentityForACallerThatHasLeft)
{
    PrivateSystemBus bus;
    ASSERT_TRUE(bus.isRunning()) << bus.errorText().toStdString();
    const QDBusConnection daemon = bus.connect(QStringLiteral("daemon"));
    const QString departed = bus.connect(QStringLiteral("caller")).baseService();
    ASSERT_EQ(quiven::service::callerUid(daemon, departed), ::getuid());
    QDBusConnection::disconnectFromBus(QStringLiteral("caller"));
    // The lookup fails instead of giving 0 (root).
    ASSERT_TRUE(bus.waitForNameGone(departed));
    EXPECT_EQ(quiven::service::callerUid(daemon, departed), std::nullopt);
}

TEST(SystemBusAddress, TellsTheMachinesSystemBusFromPrivateOnes)
{
    const std::pair<const char *, bool> cases[] = {
        {"", true},
        {"unix:path=/var/run/dbus/system_bus_socket", true},
        {"tcp:host=localhost,port=1;unix:path=/run/dbus/system_bus_socket", true},
        {"unix:path=/tmp/bus/run/dbus/system_bus_socket", false},
        {"unix:abstract=/tmp/dbus-xyz", false},
    };
    for (const auto &[address, real] : cases)
        EXPECT_EQ(quiven::service::isMachineSystemBus(QString::fromLatin1(address)), real) << address;
}

} // namespace
