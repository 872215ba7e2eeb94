#include "FilterRuleDefinition.h"
#include "RuleManager.h"
#include "RuleText.h"

#include <QDateTime>
#include <QRandomGenerator>
#include <gtest/gtest.h>
#include <limits>

namespace {

using namespace Qt::StringLiterals;

PolicyRule makePolicy(const QString &path = QStringLiteral("/Users/a/file.txt"))
{
    PolicyRule rule;
    rule.policyClass = PolicyClass::Deny;
    rule.policyType = PolicyType::Path;
    rule.operations = Operation::Read | Operation::Write;
    rule.setPath(path);
    rule.setProcessName(QStringLiteral("/usr/bin/editor"));
    rule.setConstraint(QStringLiteral("ABCDE12345"));
    return rule;
}

// Words are case-sensitive, unknown letters are skipped, and a policy rule
// shows only its user flag, a watch rule only its sticky flag.
TEST(RuleConversions, WordsAndLetters)
{
    EXPECT_EQ(RuleManager::policyClassForString("Allow"), 5u);
    EXPECT_EQ(RuleManager::policyTypeForString(""), 4u);
    EXPECT_EQ(PolicyRule::policyTypeDescription(3), "err");
    EXPECT_EQ(RuleManager::operationsForString("x-r"), 17u);
    EXPECT_EQ(RuleManager::operationsForString("rrR?"), 1u);
    EXPECT_EQ(RuleManager::operationsForInteger(0x20 | Operation::Execute | Operation::Read), "rx");
    PolicyRule policy;
    policy.flags = 7;
    EXPECT_EQ(RuleManager::flagsForPolicyRule(policy), "u");
    WatchRule watch;
    watch.flags = 7;
    EXPECT_EQ(RuleManager::flagsForWatchRule(watch), "s");
}

// A creation time is the number its field begins with, held to 64 bits, alike
// from text and from a file's bytes.
TEST(RuleConversions, LeadingIntegers)
{
    constexpr qint64 max = std::numeric_limits<qint64>::max();
    constexpr qint64 min = std::numeric_limits<qint64>::min();
    const std::pair<const char *, qint64> cases[] = {{"", 0},
                                                     {"abc", 0},
                                                     {"  42x", 42},
                                                     {"+7", 7},
                                                     {"-5", -5},
                                                     {"1700000000", 1700000000},
                                                     {"12345678", 12345678},
                                                     {"1234567:9", 1234567},
                                                     {"1234567/9", 1234567},
                                                     {"00000000012x", 12},
                                                     {"-17000000001", -17000000001},
                                                     {"922337203685477580", 922337203685477580},
                                                     {"9223372036854775807", max},
                                                     {"9223372036854775808", max},
                                                     {"99999999999999999999", max},
                                                     {"-9223372036854775808", min},
                                                     {"-9223372036854775809", min},
                                                     {"-99999999999999999999", min}};
    for (const auto &[text, value] : cases) {
        EXPECT_EQ(RuleText::leadingInteger(QByteArrayView(text)), value) << text;
        EXPECT_EQ(RuleText::leadingInteger(QString::fromLatin1(text)), value) << text;
    }
    // Bytes are read eight at a time where text is read unit by unit: both agree.
    QRandomGenerator random(12);
    const char alphabet[] = "0123456789/:+- x\x80";
    for (int round = 0; round < 20000; ++round) {
        QByteArray text;
        for (int length = random.bounded(24); length > 0; --length)
            text += alphabet[random.bounded(int(sizeof alphabet) - 1)];
        ASSERT_EQ(RuleText::leadingInteger(QByteArrayView(text)),
                  RuleText::leadingInteger(QString::fromLatin1(text)))
            << text.constData();
    }
}

// The quick folding agrees with the library's on ASCII and on what is not.
TEST(RuleConversions, CaseFoldingAgreesWithTheLibrary)
{
    const QString texts[] = {QString(),
                             u""_s,
                             u"/usr/bin/tool"_s,
                             u"/Applications/Zed.app:AZaz@[`{"_s,
                             u"@[`{AZaz@[`{AZaz/x"_s,
                             u"/usr/\u00C9/local/share/x"_s,
                             u"/usr/local/share/\u0100"_s,
                             u"/usr/local/share/tail/Z/more"_s,
                             u"/Users/K\u212Aelvin"_s,
                             u"STRASSE stra\u00DFe"_s,
                             u"\u03A3\u03C3\u03C2 /X"_s,
                             u"\U0001D400 Bold A"_s};
    for (const QString &text : texts) {
        EXPECT_EQ(RuleText::caseFolded(text), text.toCaseFolded()) << qPrintable(text);
        EXPECT_EQ(RuleText::caseFolded(text).isNull(), text.toCaseFolded().isNull());
    }
}

// A policy rule's line is checked where the writer's bytes are compared with it.
TEST(RuleRecords, TextForms)
{
    WatchRule watch;
    watch.policyType = PolicyType::Prefix;
    watch.setPath(QStringLiteral("/etc/"));
    watch.setProcessName(QStringLiteral("any"));
    watch.operations = Operation::Write | Operation::Create;
    watch.flags = RuleFlag::Sticky;
    watch.setTag(QStringLiteral("\"config\""));
    EXPECT_EQ(watch.toString(), "watch prefix \"/etc/\" \"any\" wc \"config\"\n");
    EXPECT_FALSE(watch.description().endsWith(u'>'));

    EXPECT_EQ((TraceRule{QStringLiteral("/bin/ls"), QStringLiteral("/tmp")}).description(),
              "<TraceRule procesName=/bin/ls, path=/tmp>");
}

TEST(RuleRecords, EqualityIgnoresBookkeepingFields)
{
    const PolicyRule a = makePolicy();
    PolicyRule b = makePolicy();
    b.setTag(QStringLiteral("other"));
    b.created = 42;
    b.system = true;
    b.sequence = 9;
    b.setProcessShortName(QStringLiteral("Editor"));
    EXPECT_TRUE(a.isEqualTo(b));
    EXPECT_TRUE(b.isEqualTo(a));
    // Absent texts equal only each other.
    PolicyRule absent = makePolicy();
    absent.setConstraint(QString());
    EXPECT_TRUE(absent.isEqualTo(absent));

    for (auto change : std::initializer_list<void (*)(PolicyRule &)>{
             [](PolicyRule &r) { r.policyClass = PolicyClass::Allow; },
             [](PolicyRule &r) { r.policyType = PolicyType::Prefix; },
             [](PolicyRule &r) { r.operations |= Operation::Execute; },
             [](PolicyRule &r) { r.flags = RuleFlag::TeamID; },
             [](PolicyRule &r) { r.setProcessName(QStringLiteral("/usr/bin/other")); },
             [](PolicyRule &r) { r.setConstraint(QString()); },
             [](PolicyRule &r) { r.setConstraint(QStringLiteral("")); },
         }) {
        PolicyRule c = makePolicy();
        change(c);
        EXPECT_FALSE(a.isEqualTo(c));
        EXPECT_FALSE(a.isEqualToRuleWithPrefix(c));
    }
}

TEST(RuleRecords, PrefixEqualityComparesDirectories)
{
    const PolicyRule x = makePolicy(QStringLiteral("/a/b/x"));
    const PolicyRule y = makePolicy(QStringLiteral("/a/b/y"));
    EXPECT_FALSE(x.isEqualTo(y));
    EXPECT_TRUE(x.isEqualToRuleWithPrefix(y));
    EXPECT_FALSE(x.isEqualToRuleWithPrefix(makePolicy(QStringLiteral("/a/c/x"))));
    // A trailing slash is not a component of its own.
    EXPECT_TRUE(
        makePolicy(QStringLiteral("/a/b/")).isEqualToRuleWithPrefix(makePolicy(QStringLiteral("/a/c"))));
    EXPECT_FALSE(makePolicy(QString()).isEqualToRuleWithPrefix(makePolicy(QStringLiteral(""))));
}

TEST(RuleRecords, EqualityRespectsRecordKind)
{
    PolicyRule policy = makePolicy();
    WatchRule watch;
    static_cast<NVCRuleBase &>(watch) = static_cast<const NVCRuleBase &>(policy);
    EXPECT_FALSE(policy.isEqualTo(watch));
    EXPECT_FALSE(watch.isEqualTo(policy));
    NVCRuleBase base = policy;
    // A base record accepts derived ones, not the other way round.
    EXPECT_TRUE(base.isEqualTo(policy));
    EXPECT_FALSE(policy.isEqualTo(base));
}

TEST(RuleRecords, RuleState)
{
    PolicyRule rule;
    EXPECT_EQ(rule.getRuleState(), 0) << "unknown creation time";
    rule.created = rule.initialized - 3600;
    EXPECT_EQ(rule.getRuleState(), 2);
    rule.created = rule.initialized - 86400;
    EXPECT_EQ(rule.getRuleState(), 0);
    rule.system = true;
    EXPECT_EQ(rule.getRuleState(), 1);
}

// Absent texts left out and empty ones kept are checked where records cross
// the bus, in BusCoding.
TEST(RuleArchive, RoundTripKeepsFieldsButNotCreationTime)
{
    PolicyRule rule = makePolicy();
    rule.flags = RuleFlag::TeamID;
    rule.setTag(QStringLiteral("note"));
    rule.setProcessShortName(QStringLiteral("editor"));
    rule.system = true;
    rule.sequence = 1ll << 40;
    rule.created = rule.initialized;
    rule.policyClass = 0xfffffff0u;

    const QVariantMap archive = rule.archive();
    EXPECT_EQ(archive.keys(),
              (QStringList{"constraint", "flags", "operations", "path", "policyClass", "policyType",
                           "processName", "processShortName", "sequence", "system", "tag"}));
    EXPECT_EQ(archive.value("policyClass").metaType().id(), QMetaType::Int);

    PolicyRule decoded;
    QString error;
    ASSERT_TRUE(decoded.unarchive(archive, &error)) << qPrintable(error);
    EXPECT_TRUE(decoded.isEqualTo(rule));
    EXPECT_EQ(decoded.policyClass, 0xfffffff0u);
    EXPECT_EQ(decoded.processShortName(), "editor");
    EXPECT_EQ(decoded.sequence, 1ll << 40);
    EXPECT_EQ(decoded.created, 0);
}

TEST(RuleArchive, RejectsWrongTypesAndLeavesRecordUntouched)
{
    const QVariantMap good = makePolicy().archive();
    const std::pair<const char *, QVariant> wrong[] = {
        {"path", QByteArray("/x")},    {"processName", 7},  {"tag", QStringList{"a"}}, {"constraint", true},
        {"policyClass", QString("1")}, {"operations", 1.5}, {"flags", qlonglong(1)},   {"system", 1},
        {"sequence", QString("3")},
    };
    for (const auto &[key, value] : wrong) {
        QVariantMap archive = good;
        archive.insert(QString::fromLatin1(key), value);
        PolicyRule target = makePolicy(QStringLiteral("/kept"));
        QString error;
        EXPECT_FALSE(target.unarchive(archive, &error)) << key;
        EXPECT_TRUE(error.contains(QString::fromLatin1(key))) << qPrintable(error);
        EXPECT_EQ(target.path(), "/kept");
    }
}

TEST(RuleArchive, FilterRuleDefinition)
{
    const FilterRuleDefinition definition(true, QStringLiteral("allow path \"/x\" \"any\" r"));
    QString error;
    const auto decoded = FilterRuleDefinition::unarchive(definition.archive(), &error);
    ASSERT_TRUE(decoded.has_value());
    EXPECT_TRUE(decoded->active);
    EXPECT_EQ(decoded->rule, definition.rule);

    EXPECT_FALSE(FilterRuleDefinition::unarchive({{"active", 1}}, &error).has_value());
    EXPECT_TRUE(error.contains("active"));
    EXPECT_FALSE(FilterRuleDefinition::unarchive({{"rule", 1}}, &error).has_value());
    EXPECT_TRUE(error.contains("rule"));
}

} // namespace
