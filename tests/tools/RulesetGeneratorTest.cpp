#include "RulesetGenerator.h"

#include "RuleManager.h"
#include "TestFiles.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

std::unique_ptr<RuleManager> load(const QByteArray &text)
{
    QTemporaryDir dir;
    EXPECT_TRUE(writeFile(dir.filePath("generated.rc"), text));
    return RuleManager::withContentsOfFile(dir.filePath("generated.rc"), false);
}

TEST(RulesetGenerator, EveryLineIsReadAndValidTheSharedGroupHasItsSizeAndTheSeedDecides)
{
    const QByteArray text = generateRuleset({3000, 42, 800});
    const std::unique_ptr<RuleManager> manager = load(text);
    ASSERT_EQ(manager->compositeIndex().size(), 3000);
    for (const RuleBasePtr &rule : manager->compositeIndex())
        EXPECT_TRUE(manager->validateRule(*rule)) << rule->toString().toStdString();

    qsizetype largest = 0;
    qsizetype groupsOfOne = 0;
    for (const QList<PolicyRulePtr> &group : manager->policyRulesByApplication()) {
        largest = qMax(largest, group.size());
        groupsOfOne += group.size() == 1;
    }
    EXPECT_EQ(largest, 800);
    EXPECT_GT(groupsOfOne, 10) << "group sizes should vary";
    EXPECT_GT(manager->watchRules().size(), 20);
    EXPECT_EQ(generateRuleset({3000, 42, 800}), text);
    EXPECT_NE(generateRuleset({3000, 43, 800}), text);
}

} // namespace
