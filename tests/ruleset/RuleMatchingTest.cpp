#include "RuleMatching.h"

#include "RuleManager.h"
#include "StoreTestRules.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <ostream>

// Lists of rules one a line in assertion messages.
void PrintTo(const QStringList &list, std::ostream *os)
{
    *os << '\n' << list.join(u'\n').toStdString();
}

namespace {

using namespace Qt::StringLiterals;

const QString kHome = u"/home/ann"_s;
const QString kEvince = u"/usr/bin/evince"_s;
const QString kBash = u"/usr/bin/bash"_s;
const QString kInit = u"/sbin/init"_s;

// A manager holding the rules of `text`, read as a rule file.
std::unique_ptr<RuleManager> managerWith(const QByteArray &text, bool system = false)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(u"rules.rc"_s);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        return nullptr;
    file.close();
    return RuleManager::withContentsOfFile(path, system);
}

FileAccess access(const QString &program, const QString &path, quint32 operation, const QString &parent = {},
                  const QStringList &ancestors = {})
{
    return {program, parent, ancestors, path, operation, kHome};
}

enum class Expect
{
    Match,
    NoMatch,
    MatchIfValid
};

TEST(RuleMatchingTest, EachRuleFormMatchesExactlyTheAccessesItDescribes)
{
    constexpr quint32 R = Operation::Read, W = Operation::Write, X = Operation::Execute;
    const QString doc = u"/home/ann/Documents/tax/2025.pdf"_s;
    const struct
    {
        const char *rule;
        FileAccess access;
        Expect expected;
    } cases[] = {
        // paths
        {R"(allow prefix "~/Documents/" "/usr/bin/evince" r)", access(kEvince, doc, R), Expect::Match},
        {R"(allow prefix "~/Documents/" "/usr/bin/evince" r)", access(kEvince, u"/home/ann/Documents"_s, R),
         Expect::NoMatch},
        {R"(allow path "~" "/usr/bin/evince" r)", access(kEvince, kHome, R), Expect::Match},
        {R"(deny path "/etc/passwd" "/usr/bin/evince" r)", access(kEvince, u"/etc/passwd-"_s, R),
         Expect::NoMatch},
        {R"(deny suffix ".pem" "/usr/bin/evince" r)", access(kEvince, u"/etc/ssl/a.pem.bak"_s, R),
         Expect::NoMatch},
        {R"(deny suffix "~" "/usr/bin/evince" r)", access(kEvince, u"/home/ann/notes~"_s, R), Expect::Match},
        {R"(deny path "any" "/usr/bin/evince" r)", access(kEvince, u":NVRAM/boot-args"_s, R), Expect::Match},
        {R"(deny prefix ":NVRAM/" "/usr/bin/evince" r)", access(kEvince, u":NVRAM/boot-args"_s, R),
         Expect::Match},
        {R"(deny prefix "/" "/usr/bin/evince" r)", access(kEvince, u":KMOD/x"_s, R), Expect::NoMatch},
        {R"(deny suffix "boot-args" "/usr/bin/evince" r)", access(kEvince, u":NVRAM/boot-args"_s, R),
         Expect::NoMatch},
        // operations
        {R"(allow prefix "/" "/usr/bin/evince" rw)", access(kEvince, doc, W), Expect::Match},
        {R"(allow prefix "/" "/usr/bin/evince" rw)", access(kEvince, doc, X), Expect::NoMatch},
        // processes
        {R"(allow prefix "/" "any" r)", access(u"/opt/x/bin/x"_s, doc, R), Expect::Match},
        {R"(allow prefix "/" "/usr/bin/evince" r)", access(u"/usr/bin/evince2"_s, doc, R), Expect::NoMatch},
        {R"(allow prefix "/" "~/bin/tool" r)", access(u"/home/ann/bin/tool"_s, doc, R), Expect::Match},
        {R"(allow prefix "/" "/usr/bin/evince via /usr/bin/bash" r)", access(kEvince, doc, R, kBash),
         Expect::Match},
        {R"(allow prefix "/" "/usr/bin/evince via /usr/bin/bash" r)", access(kEvince, doc, R),
         Expect::NoMatch},
        {R"(allow prefix "/" "/usr/bin/evince via any" r)", access(kEvince, doc, R), Expect::Match},
        {R"(allow prefix "/" "any via /usr/bin/bash" r)", access(u"/bin/ls"_s, doc, R, kBash), Expect::Match},
        {R"(allow prefix "/" "any via /usr/bin/bash" r)", access(u"/bin/ls"_s, doc, R, {}, {kBash}),
         Expect::NoMatch},
        {R"(allow prefix "/" "any via bash" r)", access(u"/bin/ls"_s, doc, R, kBash), Expect::Match},
        {R"(allow prefix "/" "any ancestor /sbin/init" r)", access(u"/bin/ls"_s, doc, R, {}, {kBash, kInit}),
         Expect::Match},
        {R"(allow prefix "/" "any ancestor /sbin/init" r)", access(u"/bin/ls"_s, doc, R, kBash),
         Expect::NoMatch},
        {R"(allow prefix "/" "/usr/bin/evince ancestor /sbin/init" r)", access(kEvince, doc, R, {}, {kInit}),
         Expect::Match},
        {R"(allow prefix "/" "/usr/bin/evince ancestor /sbin/init" r)",
         access(u"/bin/ls"_s, doc, R, {}, {kInit}), Expect::NoMatch},
        // validity
        {R"(permit prefix "/" "/usr/bin/evince" r)", access(kEvince, doc, R), Expect::MatchIfValid},
        {R"(allow prefix "/" "/usr/bin/evince" r "" "short")", access(kEvince, doc, R), Expect::MatchIfValid},
        {R"(permit prefix "/etc/" "/usr/bin/evince" r)", access(kEvince, doc, R), Expect::NoMatch},
        // watch rules
        {R"(watch prefix "/etc/" "any" w "")", access(kEvince, u"/etc/hosts"_s, W), Expect::Match},
        {R"(watch prefix "/etc/" "/usr/bin/vi" w "")", access(kEvince, u"/etc/hosts"_s, W), Expect::NoMatch},
    };
    for (const auto &entry : cases) {
        const std::unique_ptr<RuleManager> manager = managerWith(QByteArray(entry.rule) + '\n');
        ASSERT_TRUE(manager);
        ASSERT_EQ(manager->compositeIndex().size(), 1) << entry.rule;
        const AccessMatches answer = matchAccess(*manager, entry.access);
        const Expect got = !answer.matches.isEmpty()             ? Expect::Match
                           : !answer.wouldMatchIfValid.isEmpty() ? Expect::MatchIfValid
                                                                 : Expect::NoMatch;
        EXPECT_EQ(int(got), int(entry.expected)) << entry.rule << " / " << entry.access.program.toStdString()
                                                 << " " << entry.access.path.toStdString();
    }
}

TEST(RuleMatchingTest, AnswerCarriesWhatTheTableShowsInTableOrder)
{
    std::unique_ptr<RuleManager> manager = managerWith(R"(deny prefix "/home/" "any" rw "" "" "0"
watch prefix "/home/ann/" "any" r
)",
                                                       true);
    ASSERT_TRUE(manager);
    manager->addPolicyRule(policyRule(PolicyClass::Allow, PolicyType::Prefix, u"~/"_s, kEvince, 3), false);
    manager->addPolicyRule(policyRule(PolicyClass::Allow, PolicyType::Path, u"~/a.pdf"_s, kEvince, 1), false);
    manager->addPolicyRule(policyRule(PolicyClass::Deny, PolicyType::Path, u"/etc/x"_s, kEvince, 1), false);
    manager->rebuildRulesCache();

    const auto rowsAndKinds = [&](const AccessMatches &answer) {
        QStringList shown;
        for (const RuleMatch &match : answer.matches) {
            EXPECT_EQ(manager->ruleAtIndex(match.row.value_or(~0ULL), true), match.rule);
            shown.append(u"%1 %2 %3%4"_s.arg(match.isWatchRule ? u"watch"_s : u"policy"_s,
                                             match.rule->system ? u"system"_s : u"user"_s, match.rule->path(),
                                             match.redundant ? u" redundant"_s : QString()));
        }
        return shown;
    };
    const FileAccess read = access(kEvince, u"/home/ann/a.pdf"_s, Operation::Read);
    const AccessMatches answer = matchAccess(*manager, read);
    EXPECT_EQ(rowsAndKinds(answer), (QStringList{u"watch system /home/ann/"_s, u"policy system /home/"_s,
                                                 u"policy user ~/"_s, u"policy user ~/a.pdf redundant"_s}));
    EXPECT_EQ(answer.matches[1].group, RuleManager::applicationGroupIdentityForRule(*answer.matches[1].rule));
    EXPECT_TRUE(answer.matches[0].group.isNull());

    // Rules the search hides still match, without a row, last. Rows of a
    // sorted view are compared in AgreesWithAPlainScanOfEveryRule.
    manager->applyFilterWithString(u"a.pdf"_s);
    const AccessMatches filtered = matchAccess(*manager, read);
    ASSERT_EQ(filtered.matches.size(), 4);
    EXPECT_EQ(filtered.matches[0].row, std::optional<quint64>(0));
    EXPECT_FALSE(filtered.matches[3].row.has_value());
}

// The plain answer: every rule of the store tested, in the view's order.
AccessMatches scanAll(const RuleManager &manager, const FileAccess &access)
{
    const AccessMatcher matcher(access);
    AccessMatches answer;
    const QList<RuleBasePtr> view = manager.compositeIndex().toList();
    for (qsizetype row = 0; row < view.size(); ++row) {
        if (matcher.matches(*view[row])) {
            (manager.validateRule(*view[row]) ? answer.matches : answer.wouldMatchIfValid)
                .append({view[row], false, false, QString(), quint64(row)});
        }
    }
    return answer;
}

// Rows with the rule's text, so that a difference reads as one.
QStringList rulesAndRows(const QList<RuleMatch> &matches)
{
    QStringList result;
    for (const RuleMatch &match : matches)
        result.append(u"%1: %2"_s.arg(match.row.value_or(~0ULL)).arg(match.rule->toString().trimmed()));
    return result;
}

TEST(RuleMatchingTest, AgreesWithAPlainScanOfEveryRule)
{
    QRandomGenerator random(4711);
    const auto pick = [&random](const QStringList &items) { return items[random.bounded(items.size())]; };
    const QStringList programs{kEvince, u"/usr/bin/vi"_s, u"/home/ann/bin/tool"_s, u"/opt/x/bin/x"_s};
    const QStringList parents{kBash, kInit, u"/usr/bin/zsh"_s};
    const QStringList processForms{u"%1"_s,
                                   u"%1"_s,
                                   u"~/bin/tool"_s,
                                   u"evince"_s,
                                   u"%1 via %2"_s,
                                   u"%1 via any"_s,
                                   u"%1 via bash"_s,
                                   u"%1 ancestor %2"_s,
                                   u"any"_s,
                                   u"any via %2"_s,
                                   u"any via bash"_s,
                                   u"any via any"_s,
                                   u"any ancestor %2"_s,
                                   u"any ancestor init"_s};
    const QStringList rulePaths{u"any"_s,         u"/"_s,       u"/home/ann/"_s, u"~/Documents/"_s,
                                u"~"_s,           u"/etc/"_s,   u":NVRAM/"_s,    u".pem"_s,
                                u"/etc/passwd"_s, u"~/a.pem"_s, u"Documents"_s};
    const QStringList files{u"/home/ann/Documents/a.pem"_s,
                            u"/home/ann/a.pem"_s,
                            u"/etc/passwd"_s,
                            u":NVRAM/a.pem"_s,
                            u"~/Documents/x"_s,
                            u"/home/ann"_s};
    const QStringList constraints{u""_s, u""_s, u"ABCDE12345"_s, u"APPLE_PF_BINARY"_s, u"bad"_s};

    RuleManager manager;
    for (int i = 0; i < 3000; ++i) {
        const QString process =
            pick(processForms).replace(u"%1"_s, pick(programs)).replace(u"%2"_s, pick(parents));
        const quint32 type = random.bounded(20) == 0 ? PolicyType::Invalid : quint32(random.bounded(3));
        const quint32 operations = 1 + random.bounded(31);
        const bool system = random.bounded(2) == 0;
        if (random.bounded(10) == 0) {
            WatchRulePtr watch = watchRule(pick(rulePaths), process, system);
            watch->policyType = type;
            watch->operations = operations;
            manager.addWatchRule(watch, false);
            continue;
        }
        const quint32 policyClass =
            random.bounded(20) == 0 ? PolicyClass::Invalid : quint32(random.bounded(2));
        manager.addPolicyRule(
            policyRule(policyClass, type, pick(rulePaths), process, operations, pick(constraints), system),
            false);
    }
    manager.rebuildRulesCache();
    manager.sortIndexUsingDescriptors({{u"path"_s, true, RuleSortDescriptor::Comparison::Compare}});

    int matched = 0;
    for (int i = 0; i < 300; ++i) {
        QStringList ancestors;
        for (int n = random.bounded(3); n > 0; --n)
            ancestors.append(pick(parents));
        const QString parent = random.bounded(2) == 0 ? pick(parents) : QString();
        const FileAccess attempt = access(pick(programs + QStringList{u"/usr/bin/other"_s}), pick(files),
                                          1u << random.bounded(5), parent, ancestors);
        const AccessMatches fast = matchAccess(manager, attempt);
        const AccessMatches plain = scanAll(manager, attempt);
        ASSERT_EQ(rulesAndRows(fast.matches), rulesAndRows(plain.matches)) << "access " << i;
        ASSERT_EQ(rulesAndRows(fast.wouldMatchIfValid), rulesAndRows(plain.wouldMatchIfValid))
            << "access " << i;
        matched += int(fast.matches.size());
    }
    // The comparison means something only when accesses do match.
    EXPECT_GT(matched, 300 * 10);
}

} // namespace
