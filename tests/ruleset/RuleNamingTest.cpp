#include "RuleManager.h"
#include "StoreTestRules.h"

#include <QDir>
#include <gtest/gtest.h>

namespace {

using namespace Qt::StringLiterals;

struct Naming
{
    QString processName;
    QString name;
    QString path;
    QString parentPath;
    QString parentName;
    QString bundlePath;
    QString groupIdentity;
};

TEST(RuleNamingTest, ProcessTextsSplitIntoApplicationAndParent)
{
    const QString foo = u"/Applications/Foo.app/Contents/MacOS/Foo"_s;
    const QList<Naming> cases{
        {foo + u" via /usr/bin/bar"_s, u"Foo"_s, foo, u"/usr/bin/bar"_s, u"bar"_s, u"/Applications/Foo.app"_s,
         u"Foo:"_s + foo + u":/usr/bin/bar:TEAM123456"_s},
        {u"any"_s, u"Any process"_s, u"any"_s, QString(), QString(), u"any"_s,
         u"Any process:Any process:(null):TEAM123456"_s},
        {u"any via Finder"_s, u"Any process via Finder"_s, u"any via Finder"_s, QString(), QString(),
         u"any via Finder"_s, u"Any process via Finder"_s},
        {u"any via /System/Finder.app/"_s, u"Any process"_s, u"any"_s, u"/System/Finder.app/"_s,
         u"Finder.app"_s, u"any"_s, u"Any process:Any process:/System/Finder.app/:TEAM123456"_s},
        {u"any ancestor /sbin/launchd"_s, u"Any process with ancestor launchd"_s,
         u"any ancestor /sbin/launchd"_s, QString(), QString(), u"any ancestor /sbin/launchd"_s,
         u"Any process with ancestor launchd"_s},
        {u"/x/y via any"_s, u"y"_s, u"/x/y"_s, u"any"_s, u"any"_s, u"/x/y"_s, u"y:/x/y:any:TEAM123456"_s},
        {u"/opt/tool (-12) via /bin/sh"_s, u"tool (-12)"_s, u"/opt/tool"_s, u"/bin/sh"_s, u"sh"_s,
         u"/opt/tool (-12)"_s, u"tool (-12):/opt/tool (-12):/bin/sh:TEAM123456"_s},
        {u"/usr/lib/dir/"_s, u"dir"_s, u"/usr/lib/dir/"_s, QString(), QString(), u"/usr/lib/dir/"_s,
         u"dir:/usr/lib/dir/:(null):TEAM123456"_s},
    };
    for (const Naming &c : cases) {
        const PolicyRulePtr rule =
            policyRule(PolicyClass::Allow, PolicyType::Path, u"/p"_s, c.processName, 1, u"TEAM123456"_s);
        SCOPED_TRACE(qPrintable(c.processName));
        EXPECT_EQ(RuleManager::applicationNameForRule(*rule), c.name);
        EXPECT_EQ(RuleManager::applicationPathForRule(*rule), c.path);
        EXPECT_EQ(RuleManager::applicationParentPathForRule(*rule), c.parentPath);
        EXPECT_EQ(RuleManager::applicationParentPathForRule(*rule).isNull(), c.parentPath.isNull());
        EXPECT_EQ(RuleManager::applicationParentNameForRule(*rule), c.parentName);
        EXPECT_EQ(RuleManager::applicationBundlePathForRule(*rule), c.bundlePath);
        EXPECT_EQ(RuleManager::applicationGroupIdentityForRule(*rule), c.groupIdentity);
    }
}

TEST(RuleNamingTest, AbsentConstraintAndHomeFolder)
{
    auto rule = policyRule(PolicyClass::Allow, PolicyType::Path, u"any"_s, u"~/bin/tool"_s, 1, QString());
    EXPECT_EQ(RuleManager::applicationGroupIdentityForRule(*rule), u"tool:~/bin/tool:(null):(null)"_s);
    EXPECT_EQ(RuleManager::applicationPathForRule(*rule), QDir::homePath() + u"/bin/tool"_s);
    EXPECT_EQ(RuleManager::applicationStringForRule(*rule, 7), u"~/bin/tool"_s);
    EXPECT_EQ(RuleManager::pathForRule(*rule), u"Any path"_s);
    rule->setPath(u"/etc/hosts"_s);
    EXPECT_EQ(RuleManager::pathForRule(*rule), u"/etc/hosts"_s);
    EXPECT_EQ(RuleManager::applicationBundlePathForPath(u"~nosuchuser-xyz/A.app/B"_s),
              u"~nosuchuser-xyz/A.app"_s);
}

} // namespace
