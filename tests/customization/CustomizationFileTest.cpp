#include "NVCCustomization.h"
#include "NVCCustomizedStrings.h"
#include "TestFiles.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

struct Case
{
    const char *name;
    const char *content; // nullptr: no file at all
    bool visible;
    bool available;
    const char *applicationName; // nullptr: not customized
};

void PrintTo(const Case &c, std::ostream *os)
{
    *os << c.name;
}

class CustomizationFile : public testing::TestWithParam<Case>
{};

TEST_P(CustomizationFile, ReadsSwitchesAndFallsBackToDefaults)
{
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    ASSERT_TRUE(!GetParam().content ||
                writeFile(folder.filePath(NVCCustomization::customizationFileName()), GetParam().content));
    const NVCCustomization customization(folder.path());
    EXPECT_EQ(customization.quivenSystemRulesVisible(), GetParam().visible);
    EXPECT_EQ(customization.quivenSystemRulesAvailable(), GetParam().available);
    EXPECT_EQ(customization.applicationName(),
              GetParam().applicationName ? QString::fromUtf8(GetParam().applicationName) : QString());
}

INSTANTIATE_TEST_SUITE_P(
    Files, CustomizationFile,
    testing::Values(
        Case{"Missing", nullptr, true, true, nullptr}, Case{"Empty", "", true, true, nullptr},
        Case{"NotJson", "visible=no", true, true, nullptr},
        Case{"Array", "[false, false]", true, true, nullptr},
        Case{"BothOff", R"({"quivenSystemRulesVisible": false, "quivenSystemRulesAvailable": false})", false,
             false, nullptr},
        Case{"OneOff", R"({"quivenSystemRulesAvailable": false})", true, false, nullptr},
        Case{"WrongTypes", R"({"quivenSystemRulesVisible": 0, "applicationName": 7})", true, true, nullptr},
        Case{"Name", R"({"applicationName": "Acme Guard"})", true, true, "Acme Guard"}),
    [](const testing::TestParamInfo<Case> &info) { return info.param.name; });

TEST(CustomizationFile, ApplicationNameFeedsTheAuthorizationMessage)
{
    QTemporaryDir folder;
    ASSERT_TRUE(writeFile(folder.filePath(NVCCustomization::customizationFileName()),
                          R"({"applicationName": "Acme %%QUIVEN_NAME%%"})"));
    const NVCCustomizedStrings strings(std::make_shared<NVCCustomization>(folder.path()));
    EXPECT_EQ(strings.customizedAuthorizationMessage(),
              QStringLiteral("Acme %%QUIVEN_NAME%% wants to make changes."));
}

} // namespace
