#include "ProductFolders.h"
#include "RuleManager.h"
#include "RulesetFolders.h"

#include <QThread>
#include <atomic>
#include <plist/plist.h>

namespace {

enum class PlistFormat
{
    Xml,
    Binary
};

// Writes a preferences property list with libplist, as the preferences window would.
class PlistWriter
{
public:
    PlistWriter()
        : m_root(plist_new_dict())
    {}
    ~PlistWriter() { plist_free(m_root); }
    PlistWriter(const PlistWriter &) = delete;
    PlistWriter &operator=(const PlistWriter &) = delete;

    PlistWriter &set(const char *key, plist_t value)
    {
        plist_dict_set_item(m_root, key, value);
        return *this;
    }

    QByteArray bytes(PlistFormat format) const
    {
        char *data = nullptr;
        uint32_t length = 0;
        if (format == PlistFormat::Xml)
            plist_to_xml(m_root, &data, &length);
        else
            plist_to_bin(m_root, &data, &length);
        const QByteArray result(data, qsizetype(length));
        free(data);
        return result;
    }

private:
    plist_t m_root;
};

class RuleOptions : public RulesetFolders
{
protected:
    void installSystemFiles()
    {
        install("system-quiven.rc", systemFile("quiven.rc"));
        install("system-user.rc", systemFile("user.rc"));
        install("system-webcam.rc", systemFile("webcam.rc"));
        install("system-startup.rc", systemFile("startup.rc"));
        install("system-exec.rc", systemFile("exec.rc"));
        install("user-local.rc", sharedFile("local.quiven.rc"));
    }

    static bool hasRuleOnPath(const RuleManager &manager, const QString &path)
    {
        for (const auto &group : manager.policyRulesByApplication()) {
            for (const auto &rule : group) {
                if (rule->path() == path)
                    return true;
            }
        }
        return false;
    }
};

TEST_F(RuleOptions, PreferencesWinOverSetLinesInBothFormats)
{
    installSystemFiles();
    for (const PlistFormat format : {PlistFormat::Xml, PlistFormat::Binary}) {
        PlistWriter plist;
        plist.set("policy.global.webcam", plist_new_uint(2))
            .set("policy.global.exec", plist_new_uint(2))
            .set("ui.prompts.oob", plist_new_uint(uint64_t(-1)));
        write(sharedFile("com.norvalis.QUIVEN.preferences.plist"), plist.bytes(format));

        const auto manager = RuleManager::withCurrentUserConfigurationAndLoadDefaultRC(true);
        ASSERT_TRUE(manager->settings().has_value());
        EXPECT_EQ(manager->getOption("policy.global.webcam"), 2u);
        EXPECT_EQ(manager->getOption("ui.prompts.oob"), 0xffffffffu);
        EXPECT_EQ(manager->getOption("policy.global.user"), 0u) << "an absent key still reads as 0";
        EXPECT_FALSE(hasRuleOnPath(*manager, "/dev/video0"));
        EXPECT_FALSE(hasRuleOnPath(*manager, "/usr/bin/"));
        EXPECT_TRUE(hasRuleOnPath(*manager, "/home/ann/.gnupg/"));
        // Read twice at start-up, then the base ruleset's own lines.
        EXPECT_EQ(manager->filterOptions().size(), 18 * 2 + 4);
        EXPECT_EQ(manager->filterOptions().first().name, "filter.use-tval");
        EXPECT_EQ(manager->filterOptions().at(17).name, "ui.prompts.authenticate");
    }
}

TEST_F(RuleOptions, ValuesReadAsBooleanOrInteger)
{
    PlistWriter plist;
    plist.set("filter.use-tval", plist_new_string("YES"))
        .set("access.user.restrict", plist_new_uint(5))
        .set("access.user.create", plist_new_bool(false))
        .set("filter.tval-lookup-hash", plist_new_string(" 42abc"))
        .set("filter.tval-lookup-teamid", plist_new_real(3.9))
        .set("access.user.detail", plist_new_bool(true))
        .set("security.hashing.enforce", plist_new_uint((1ull << 32) + 3))
        .set("filter.exec.allow.signed", plist_new_array())
        .set("policy.global.user", plist_new_string("99999999999"));
    write(sharedFile("com.norvalis.QUIVEN.preferences.plist"), plist.bytes(PlistFormat::Xml));

    RuleManager manager;
    manager.loadOptions();
    const std::pair<const char *, quint32> expected[] = {
        {"filter.use-tval", 1},          {"access.user.restrict", 1},      {"access.user.create", 0},
        {"filter.tval-lookup-hash", 42}, {"filter.tval-lookup-teamid", 3}, {"access.user.detail", 1},
        {"security.hashing.enforce", 3}, {"filter.exec.allow.signed", 0},  {"policy.global.user", 0x7fffffff},
        {"ui.prompts.remote", 0},
    };
    for (const auto &[key, value] : expected)
        EXPECT_EQ(manager.getOption(key), value) << key;
}

TEST_F(RuleOptions, UnreadablePreferencesAddNothing)
{
    write(sharedFile("com.norvalis.QUIVEN.preferences.plist"), "not a property list");
    RuleManager manager;
    manager.setSettings(QVariantMap{{"stale", 1}});
    manager.loadOptions();
    EXPECT_FALSE(manager.settings().has_value());
    EXPECT_TRUE(manager.filterOptions().isEmpty());
}

TEST_F(RuleOptions, AddOptionKeepsLowBitsOfTheValue)
{
    RuleManager manager;
    manager.addOptionWithParts({"set", "a", "4294967297"});
    manager.addOptionWithParts({"set", "b", "-1"});
    manager.addOptionWithParts({"set", "c", "7 days"});
    manager.addOptionWithParts({"set", "a", "9"});
    manager.addOptionWithParts({"set", "d"});
    EXPECT_EQ(manager.getOption("a"), 1u);
    EXPECT_EQ(manager.getOption("b"), 0xffffffffu);
    EXPECT_EQ(manager.getOption("c"), 7u);
    EXPECT_EQ(manager.filterOptions().size(), 4);
}

// shared() is process-wide, so this is the only test of the binary that asks for it.
TEST_F(RuleOptions, SharedManagerIsCreatedOnceUnderConcurrentFirstUse)
{
    installSystemFiles();
    std::atomic<bool> go{false};
    std::array<RuleManager *, 8> seen{};
    std::vector<std::unique_ptr<QThread>> threads;
    for (std::size_t i = 0; i < seen.size(); ++i) {
        threads.emplace_back(QThread::create([&, i] {
            while (!go.load())
                QThread::yieldCurrentThread();
            seen[i] = RuleManager::shared();
        }));
        threads.back()->start();
    }
    go = true;
    for (auto &thread : threads)
        ASSERT_TRUE(thread->wait(30000));
    for (RuleManager *manager : seen)
        EXPECT_EQ(manager, seen[0]);
    ASSERT_NE(seen[0], nullptr);
    // Without preferences the base ruleset's set lines decide: every optional
    // file joins, its rules numbered on from the user's and the base ruleset's.
    EXPECT_FALSE(seen[0]->settings().has_value());
    EXPECT_EQ(seen[0]->filterOptions().size(), 4);
    EXPECT_EQ(seen[0]->ruleSequence(), 8 + 6 + 4) << "the files were read exactly once";
}

} // namespace
