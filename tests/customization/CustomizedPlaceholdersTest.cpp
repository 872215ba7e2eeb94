#include "CustomizedPlaceholders.h"

#include <gtest/gtest.h>

TEST(CustomizedPlaceholders, ReplacesEveryOccurrenceAsPlainTextOnce)
{
    CustomizedPlaceholders values;
    values.quivenName = QStringLiteral("Q");
    values.quivenConfiguration = QStringLiteral("Q Config");
    values.applicationName = QStringLiteral("App");
    values.importedNumber = 3;
    values.totalNumber = 12;
    const std::pair<const char *, const char *> cases[] = {
        {"Lock %%QUIVENNAME%%, %%QUIVEN_NAME%%!", "Lock Q, Q!"},
        {"About %%QUIVEN_CONFIGURATION%%", "About Q Config"},
        {"%%IMPORTED_NUMBER%% of %%TOTAL_NUMBER%% imported", "3 of 12 imported"},
        {"100%% sure %%QUIVEN_NAME%%", "100%% sure Q"},
        {"%%%QUIVEN_NAME%%", "%Q"},
        {"%%UNKNOWN%% stays", "%%UNKNOWN%% stays"},
        {"trailing %%", "trailing %%"},
    };
    for (const auto &[text, expected] : cases)
        EXPECT_EQ(replaceCustomizedPlaceholders(QString::fromUtf8(text), values), QString::fromUtf8(expected))
            << text;

    values.applicationName = QStringLiteral("Evil %%QUIVEN_NAME%%");
    values.importedNumber.reset();
    EXPECT_EQ(
        replaceCustomizedPlaceholders(QStringLiteral("%%APPLICATION_NAME%% and %%IMPORTED_NUMBER%%"), values),
        QStringLiteral("Evil %%QUIVEN_NAME%% and %%IMPORTED_NUMBER%%"))
        << "inserted values are not substituted again; placeholders without a value stay";
}
