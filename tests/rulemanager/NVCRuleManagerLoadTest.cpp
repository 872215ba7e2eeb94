#include "DaemonStack.h"
#include "LogCapture.h"
#include "NVCRuleManager.h"
#include "NVCSettingsClient.h"
#include "WaitUntil.h"

#include <gtest/gtest.h>

namespace {

QByteArray ruleLine(const char *verb, const char *path)
{
    return QByteArray(verb) + " path \"" + path + "\" \"any\" r \"\" \"\" \"0\"\n";
}

QStringList rulePaths(const RuleManager &manager, bool system)
{
    QStringList paths;
    for (const RuleBasePtr &rule : manager.compositeIndex())
        if (rule->system == system)
            paths.append(rule->path());
    paths.sort();
    return paths;
}

TEST(RuleManagerLoad, LoadsMergeTheRulesetTheSettingsChooseWithTheDaemonsUserRules)
{
    DaemonStack daemons;
    daemons.writeSystemFile(QStringLiteral("quiven.rc"),
                            "set policy.global.exec 2\n" + ruleLine("allow", "/base/quiven"));
    daemons.writeSystemFile(QStringLiteral("quiven_classic.rc"),
                            "set policy.global.user 2\n" + ruleLine("allow", "/base/classic"));
    daemons.writeSystemFile(QStringLiteral("user.rc"), ruleLine("allow", "/opt/user"));
    daemons.writeSystemFile(QStringLiteral("webcam.rc"), ruleLine("deny", "/opt/webcam"));
    daemons.writeSystemFile(QStringLiteral("startup.rc"), ruleLine("allow", "/opt/startup"));
    daemons.writeSystemFile(QStringLiteral("exec.rc"), ruleLine("allow", "/opt/exec"));
    daemons.writeSettings({{QString::fromLatin1(NVCSettingsClient::rulesetInUseKey), 1}});
    // The preferences turn the camera rules off and, being read, outrank the
    // classic ruleset's `set policy.global.user 2`.
    daemons.writeSharedFile(QStringLiteral("com.norvalis.QUIVEN.preferences.plist"),
                            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
                            "<key>policy.global.webcam</key><integer>2</integer></dict></plist>\n");
    daemons.writeSharedFile(QStringLiteral("local.quiven.rc"),
                            ruleLine("allow", "/home/ann/notes") +
                                "watch prefix \"/etc/\" \"any\" wc \"configuration changes\"\n");
    ASSERT_TRUE(daemons.start()) << daemons.failureText().toStdString();
    const QDBusConnection connection = daemons.bus().connect(QStringLiteral("rule-manager"));
    NVCRuleManager manager(connection, NVCNamespace(QString()));

    ASSERT_EQ(answerOf<bool>([&](auto done) { manager.loadSystemRuleSetWithCallback(done); }), true)
        << daemons.failureText().toStdString();
    EXPECT_EQ(rulePaths(manager, true),
              (QStringList{"/base/classic", "/opt/exec", "/opt/startup", "/opt/user"}));
    EXPECT_EQ(rulePaths(manager, false), (QStringList{"/etc/", "/home/ann/notes"}));

    // A reload starts from scratch instead of stacking a second copy.
    ASSERT_TRUE(answerOf<bool>([&](auto done) { manager.reloadCurrentUserConfigurationWithCallback(done); }));
    EXPECT_EQ(manager.compositeIndex().size(), 6);

    // Each base ruleset's `set` lines decide which optional files join it.
    const QStringList optional{"/opt/exec", "/opt/startup", "/opt/user", "/opt/webcam"};
    const struct
    {
        QVariant inUse;
        QStringList expected;
    } cases[] = {
        // quiven.rc turns exec.rc off with its own `set` line.
        {0, {"/base/quiven", "/opt/startup", "/opt/user", "/opt/webcam"}},
        {1, QStringList{"/base/classic", "/opt/exec", "/opt/startup", "/opt/webcam"}},
        {3, optional},
        {-1, optional},
        // Settings not known yet read as ruleset 0.
        {QVariant(), {"/base/quiven", "/opt/startup", "/opt/user", "/opt/webcam"}},
    };
    for (const auto &entry : cases) {
        NVCRuleManager fresh(connection, NVCNamespace(QString()));
        QVariantMap settings;
        if (entry.inUse.isValid())
            settings.insert(QString::fromLatin1(NVCSettingsClient::rulesetInUseKey), entry.inUse);
        std::optional<bool> answer;
        fresh.addFileContentsFromSettings(settings, QDBusError(), [&](bool added) { answer = added; });
        ASSERT_EQ(answer, std::optional<bool>(true));
        QStringList expected = entry.expected;
        expected.sort();
        EXPECT_EQ(rulePaths(fresh, true), expected) << entry.inUse.toString().toStdString();
        EXPECT_TRUE(rulePaths(fresh, false).isEmpty());
    }

    NVCRuleManager idle(connection, NVCNamespace(QString()));
    std::optional<bool> answer;
    idle.addFileContentsFromSettings({}, QDBusError(QDBusError::NoReply, QStringLiteral("gone")),
                                     [&](bool added) { answer = added; });
    EXPECT_EQ(answer, std::optional<bool>(false));
    EXPECT_TRUE(idle.compositeIndex().isEmpty());
    // Without the settings daemon the load never finishes.
    LogCapture log;
    daemons.settingsd().kill9();
    ASSERT_TRUE(daemons.bus().waitForNameGone(QStringLiteral("com.norvalis.nrsettingsd")));
    bool called = false;
    idle.loadSystemRuleSetWithCallback([&](bool) { called = true; });
    ASSERT_TRUE(log.waitFor(QStringLiteral("Failed to add system settings")));
    EXPECT_FALSE(called);
    EXPECT_TRUE(idle.compositeIndex().isEmpty());
}

} // namespace
