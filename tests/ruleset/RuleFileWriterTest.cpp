#include "RuleManager.h"
#include "RulesetFolders.h"
#include "StoreTestRules.h"

#include <QFile>
#include <QRandomGenerator>
#include <QStringEncoder>
#include <csignal>
#include <gtest/gtest.h>
#include <limits>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

using namespace Qt::StringLiterals;

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

mode_t modeOf(const QString &path)
{
    struct stat info
    {};
    ::stat(QFile::encodeName(path).constData(), &info);
    return info.st_mode & 07777;
}

class RuleFileWriterTest : public RulesetFolders
{
protected:
    RuleManager manager;
    QString path() const { return scratchFile(u"out.rc"_s); }

    // Writes `writer`'s rules under a file size limit, which makes write()
    // come back short without touching devices, and expects that recorded.
    void writeShortOf(RuleManager &writer, rlim_t limit)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit saved{};
        ::getrlimit(RLIMIT_FSIZE, &saved);
        rlimit limited = saved;
        limited.rlim_cur = limit;
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limited), 0);
        const bool written = writer.writeToFile(path());
        ::setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, SIG_DFL);
        EXPECT_TRUE(written);
        EXPECT_EQ(writer.lastErrorMessage(),
                  u"Failed write() operation on file '%1' File too large (27)"_s.arg(path()));
    }
};

TEST_F(RuleFileWriterTest, SystemOnlyStoreWritesAnEmptyFile)
{
    manager.addPolicyRule(
        policyRule(PolicyClass::Allow, PolicyType::Path, u"/s"_s, u"any"_s, 1, u""_s, true));
    manager.addWatchRule(watchRule(u"/w"_s, u"any"_s, true));
    const mode_t savedMask = ::umask(077);
    const bool written = manager.writeToFile(path());
    ::umask(savedMask);
    ASSERT_TRUE(written);
    EXPECT_TRUE(manager.lastErrorMessage().isNull());
    EXPECT_EQ(contents(path()), QByteArray());
    EXPECT_EQ(modeOf(path()), mode_t(0644));
}

TEST_F(RuleFileWriterTest, WritesUserWatchRulesThenPolicyRulesInGroupOrder)
{
    auto later = policyRule(PolicyClass::Deny, PolicyType::Prefix, u"/b"_s, u"/bin/Zed"_s, 17);
    auto earlier =
        policyRule(PolicyClass::Allow, PolicyType::Suffix, u"/a"_s, u"/bin/app"_s, 3, u"TEAM123456"_s);
    earlier->setTag(u"say \"hi\""_s);
    earlier->created = 1700000000;
    auto watch = watchRule(u"/w"_s, u"any"_s);
    watch->flags = RuleFlag::Sticky;
    manager.addPolicyRule(later);
    manager.addPolicyRule(earlier);
    manager.addWatchRule(watch);
    // Not yet in the view, so not written.
    manager.addPolicyRule(policyRule(PolicyClass::Deny, PolicyType::Path, u"/late"_s, u"any"_s, 1), false);

    ASSERT_TRUE(manager.writeToFile(path()));
    EXPECT_EQ(contents(path()), QByteArray("watch prefix \"/w\" \"any\" r \"\"\n"
                                           "allow suffix \"/a\" \"/bin/app\" rw \"say hi\" \"TEAM123456\" "
                                           "\"1700000000\"\n"
                                           "deny prefix \"/b\" \"/bin/Zed\" rx \"\" \"\" \"0\"\n"));
}

// Writing shows every rule for a moment; what the filtered table knew about
// its order must not be taken from that moment.
TEST_F(RuleFileWriterTest, FilteredSortedTableSortsTheSameAfterAWrite)
{
    const auto rule = [](const QString &path, const QString &tag, qint64 created) {
        PolicyRulePtr made = policyRule(PolicyClass::Allow, PolicyType::Path, path, u"any"_s, 1);
        made->setTag(tag);
        made->created = created;
        return made;
    };
    const PolicyRulePtr hidden = rule(u"/y"_s, u"a"_s, 1);
    const PolicyRulePtr first = rule(u"/x1"_s, u"a"_s, 2);
    const PolicyRulePtr second = rule(u"/x2"_s, u"b"_s, 0);
    for (const PolicyRulePtr &made : {hidden, first, second})
        manager.addPolicyRule(made);
    const QList<RuleSortDescriptor> order{
        {u"tag"_s, true, RuleSortDescriptor::Comparison::CaseInsensitiveCompare},
        {u"created"_s, true, RuleSortDescriptor::Comparison::Compare}};
    manager.sortIndexUsingDescriptors(order);
    manager.applyFilterWithString(u"x"_s);

    ASSERT_TRUE(manager.writeToFile(path()));
    manager.sortIndexUsingDescriptors(order);
    EXPECT_EQ(manager.compositeIndex().toList(), (QList<RuleBasePtr>{first, second}));
}

// Lines are encoded field by field: the bytes must still be those of each
// record's whole text, lone surrogates and stripped quotes included.
TEST_F(RuleFileWriterTest, LinesAreEachRecordsTextInUtf8)
{
    const QChar high(char16_t(0xd83d)), low(char16_t(0xde00));
    const QStringList texts{u""_s,          QString(),     u"caf\u00e9 \u212a"_s, QString(high),
                            QString(low),   u"a"_s + high, low + u"b"_s,          u"\"q\"uo\"\""_s,
                            high + u"\""_s, u"\""_s + low, QString(high) + low};
    QList<RuleBasePtr> records;
    QByteArray expected;
    qint64 created = std::numeric_limits<qint64>::min();
    for (const QString &text : texts) {
        auto rule = policyRule(PolicyClass::Deny, PolicyType::Suffix, text, text, 31, text);
        rule->setTag(text);
        rule->created = created;
        created = created / 3 + 7;
        auto watch = watchRule(text, text);
        watch->setTag(text);
        records << rule << watch;
        expected += QByteArray(QStringEncoder(QStringEncoder::Utf8).encode(rule->toString())) +
                    QByteArray(QStringEncoder(QStringEncoder::Utf8).encode(watch->toString()));
    }
    ASSERT_TRUE(manager.writeToFile(path(), records));
    EXPECT_EQ(contents(path()).toHex(' ').toStdString(), expected.toHex(' ').toStdString());
}

TEST_F(RuleFileWriterTest, OpenFailuresLeaveTargetsUntouched)
{
    const QString target = scratchFile(u"target"_s);
    write(target, "keep me\n");
    ASSERT_TRUE(QFile::link(target, path()));
    manager.addPolicyRule(policyRule(PolicyClass::Deny, PolicyType::Path, u"/x"_s, u"any"_s, 1));

    EXPECT_FALSE(manager.writeToFile(path()));
    EXPECT_TRUE(
        manager.lastErrorMessage().startsWith(u"Failed to open file '"_s + path() + u"' for writing: "_s))
        << qPrintable(manager.lastErrorMessage());
    EXPECT_FALSE(manager.writeToFile(path(), {}));
    EXPECT_EQ(contents(target), QByteArray("keep me\n"));

    // A filtered table is not unfiltered for a file that cannot be opened.
    manager.applyFilterWithString(u"nothing matches"_s);
    int viewChanges = 0;
    QObject::connect(&manager, &RuleManager::viewChanged, [&viewChanges] { ++viewChanges; });
    EXPECT_FALSE(manager.writeToFile(path()));
    EXPECT_EQ(viewChanges, 0);
    EXPECT_EQ(manager.totalRules(true), 0u);
    EXPECT_EQ(contents(target), QByteArray("keep me\n"));
}

TEST_F(RuleFileWriterTest, ShortWriteIsRecordedAndLaterLinesStillTried)
{
    // Each line is 41 bytes. Five lines make one batch: the limit falls inside
    // the third line, then on its start. 3000 make several batches: the limit
    // falls inside the first one, then inside a later one.
    const QList<std::pair<int, rlim_t>> cases{{5, 100}, {5, 82}, {3000, 30000}, {3000, 70000}};
    for (const auto &[lines, limit] : cases) {
        RuleManager writer;
        for (int i = 0; i < lines; ++i)
            writer.addWatchRule(watchRule(u"/path/number/%1"_s.arg(i % 10), u"any"_s), false);
        writer.rebuildRulesCache();
        writeShortOf(writer, limit);
        EXPECT_EQ(contents(path()).size(), qsizetype(limit));
        ASSERT_TRUE(writer.writeToFile(path()));
        EXPECT_TRUE(writer.lastErrorMessage().isNull());
        EXPECT_EQ(contents(path()).size(), lines * 41);
    }
}

// A long ruleset is encoded by two threads in turn; its lines still come in
// view order, and a short write inside it is still recorded line by line.
TEST_F(RuleFileWriterTest, LongRulesetsKeepTheirOrderAndShortWrites)
{
    RuleManager writer;
    for (int i = 0; i < 13000; ++i) {
        auto rule = policyRule(quint32(i % 2), PolicyType::Path, u"/p/%1/caf\u00e9"_s.arg(i),
                               u"/bin/app%1"_s.arg(i % 7), quint32(1 + i % 31));
        rule->system = i % 5 == 0;
        writer.addPolicyRule(rule, false);
    }
    writer.rebuildRulesCache();
    QByteArray expected;
    for (const PolicyRulePtr &rule : writer.policyRules()) {
        if (!rule->system)
            expected += rule->toString().toUtf8();
    }
    ASSERT_TRUE(writer.writeToFile(path()));
    EXPECT_TRUE(contents(path()) == expected);

    const qsizetype half = expected.size() / 2; // inside a run the helper encodes
    writeShortOf(writer, rlim_t(half));
    EXPECT_TRUE(contents(path()) == expected.left(half));
}

TEST_F(RuleFileWriterTest, SelectionWritesGivenRulesAndSkipsUnrenderable)
{
    auto system = policyRule(PolicyClass::Allow, PolicyType::Path, u"/s"_s, u"any"_s, 1, u""_s, true);
    auto watch = watchRule(u"/w"_s, u"any"_s);
    const QList<RuleBasePtr> selection{watch, std::make_shared<NVCRuleBase>(), nullptr, system};
    manager.copyUserRulesetTo(QUrl::fromLocalFile(path()), selection);
    EXPECT_EQ(contents(path()), (watch->toString() + system->toString()).toUtf8());
}

TEST_F(RuleFileWriterTest, CurrentUserConfigurationIsPrivateToTheGroup)
{
    manager.addPolicyRule(policyRule(PolicyClass::Deny, PolicyType::Path, u"/x"_s, u"any"_s, 1));
    manager.writeToCurrentUserConfiguration();
    const QString written = sharedFile(u"local.quiven.rc"_s);
    EXPECT_EQ(modeOf(written), mode_t(0640));
    EXPECT_EQ(contents(written).count('\n'), 1);
}

TEST(ManicurePathTest, ExpandsHomeAndPrefersSystemApplications)
{
    const auto exists = [](const QString &path) { return path == u"/System/Applications/Mail.app"_s; };
    struct Case
    {
        QString path;
        QString home;
        QString expected;
    };
    const QList<Case> cases{
        {u"$HOME/Documents/"_s, u"/Users/a"_s, u"/Users/a/Documents/"_s},
        {u"~/x"_s, u"/Users/a"_s, u"/Users/a/x"_s},
        {u"~/x"_s, QString(), u"~/x"_s},
        {u"$HOME/x"_s, QString(), u"$HOME/x"_s},
        {u"/Applications/Mail.app"_s, QString(), u"/System/Applications/Mail.app"_s},
        {u"/Applications/Other.app"_s, QString(), u"/Applications/Other.app"_s},
        {u"/a/~/b"_s, u"/h"_s, u"/a/~/b"_s},
    };
    for (const Case &c : cases)
        EXPECT_EQ(RuleManager::manicurePath(c.path, c.home, exists), c.expected) << qPrintable(c.path);

    const QString any = RuleManager::manicurePath(u"any"_s, u"/h"_s, exists);
    EXPECT_TRUE(any.isEmpty() && !any.isNull());
    EXPECT_TRUE(RuleManager::manicurePath(QString(), u"/h"_s, exists).isNull());
}

} // namespace
