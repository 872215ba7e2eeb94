#include "CustomizedPlaceholders.h"

#include <gtest/gtest.h>

namespace {

CustomizedPlaceholders allValues()
{
    CustomizedPlaceholders values;
    values.quivenName = QStringLiteral("Q");
    values.quivenConfiguration = QStringLiteral("Q Config");
    values.applicationName = QStringLiteral("App");
    values.importedNumber = 3;
    values.totalNumber = 12;
    return values;
}

struct Case
{
    const char *text;
    const char *expected;
};

void PrintTo(const Case &c, std::ostream *os)
{
    *os << '"' << c.text << '"';
}

class PlaceholderTable : public testing::TestWithParam<Case>
{};

TEST_P(PlaceholderTable, ReplacesEveryOccurrenceAsPlainText)
{
    EXPECT_EQ(replaceCustomizedPlaceholders(QString::fromUtf8(GetParam().text), allValues()),
              QString::fromUtf8(GetParam().expected));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, PlaceholderTable,
    testing::Values(Case{"", ""}, Case{"no placeholder here", "no placeholder here"},
                    Case{"%%QUIVEN_NAME%% Configuration", "Q Configuration"},
                    Case{"Lock %%QUIVENNAME%%, %%QUIVEN_NAME%%!", "Lock Q, Q!"},
                    Case{"About %%QUIVEN_CONFIGURATION%%", "About Q Config"},
                    Case{"%%IMPORTED_NUMBER%% of %%TOTAL_NUMBER%% imported", "3 of 12 imported"},
                    Case{"%%APPLICATION_NAME%%%%APPLICATION_NAME%%", "AppApp"},
                    Case{"100%% sure %%QUIVEN_NAME%%", "100%% sure Q"}, Case{"%%%QUIVEN_NAME%%", "%Q"},
                    Case{"%%UNKNOWN%% stays", "%%UNKNOWN%% stays"}, Case{"trailing %%", "trailing %%"},
                    Case{"ümlaut %%QUIVEN_NAME%% ™", "ümlaut Q ™"}),
    [](const testing::TestParamInfo<Case> &info) { return std::to_string(info.index); });

TEST(CustomizedPlaceholders, InsertedValueIsNotSubstitutedAgain)
{
    CustomizedPlaceholders values;
    values.applicationName = QStringLiteral("Evil %%QUIVEN_NAME%%");
    values.quivenName = QStringLiteral("Q");
    EXPECT_EQ(
        replaceCustomizedPlaceholders(QStringLiteral("%%APPLICATION_NAME%% and %%QUIVEN_NAME%%"), values),
        QStringLiteral("Evil %%QUIVEN_NAME%% and Q"));
}

TEST(CustomizedPlaceholders, PlaceholdersWithoutValueStay)
{
    CustomizedPlaceholders values;
    values.totalNumber = 0;
    EXPECT_EQ(replaceCustomizedPlaceholders(QStringLiteral("%%IMPORTED_NUMBER%%/%%TOTAL_NUMBER%%"), values),
              QStringLiteral("%%IMPORTED_NUMBER%%/0"));
}

} // namespace
