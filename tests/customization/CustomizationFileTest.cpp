#include "NVCCustomization.h"
#include "TestFiles.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

TEST(CustomizationFile, ReadsSwitchesAndFallsBackToDefaults)
{
    struct Case
    {
        const char *content; // nullptr: no file at all
        bool visible, available;
        QString applicationName;
    };
    const Case cases[] = {
        {nullptr, true, true, {}},
        {"visible=no", true, true, {}},
        {"[false, false]", true, true, {}},
        {R"({"quivenSystemRulesVisible": false, "quivenSystemRulesAvailable": false})", false, false, {}},
        {R"({"quivenSystemRulesAvailable": false})", true, false, {}},
        {R"({"quivenSystemRulesVisible": 0, "applicationName": 7})", true, true, {}},
        {R"({"applicationName": "Acme Guard"})", true, true, QStringLiteral("Acme Guard")},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.content ? c.content : "no file");
        QTemporaryDir folder;
        ASSERT_TRUE(!c.content ||
                    writeFile(folder.filePath(NVCCustomization::customizationFileName()), c.content));
        const NVCCustomization customization(folder.path());
        EXPECT_EQ(customization.quivenSystemRulesVisible(), c.visible);
        EXPECT_EQ(customization.quivenSystemRulesAvailable(), c.available);
        EXPECT_EQ(customization.applicationName(), c.applicationName);
    }
}
