#include "TextRanks.h"

#include <QList>
#include <QRandomGenerator>
#include <algorithm>
#include <array>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

// Texts that meet every turn of the sort: shared beginnings longer than one
// step of it, ends at each place within a step, units 0 and 0xFFFF that sit
// next to a text's end in the order, and many equal texts.
std::vector<QString> awkwardTexts(quint32 seed, int count)
{
    QRandomGenerator random(seed);
    const QList<QString> beginnings{u""_s, u"/home/alice/Documents/"_s, u"/home/alice/Documents/area-"_s,
                                    u"~/"_s, u"a"_s};
    const std::array<char16_t, 6> units{u'\0', u'\uFFFF', char16_t(0xD800), u'a', u'b', u'/'};
    std::vector<QString> texts;
    for (int i = 0; i < count; ++i) {
        QString text = beginnings[random.bounded(int(beginnings.size()))];
        const int tail = random.bounded(10);
        for (int k = 0; k < tail; ++k)
            text += QChar(units[std::size_t(random.bounded(int(units.size())))]);
        texts.push_back(text);
    }
    return texts;
}

TEST(TextRanksTest, OrderAndRanksAgreeWithComparingUnits)
{
    for (quint32 seed = 1; seed <= 30; ++seed) {
        // Below and above the run that is sorted by comparing outright.
        const std::vector<QString> texts = awkwardTexts(seed, seed % 3 == 0 ? 9 : 2000);
        std::vector<QStringView> views(texts.cbegin(), texts.cend());

        const std::vector<std::size_t> order = codeUnitOrder(views);
        ASSERT_EQ(order.size(), texts.size());
        std::vector<std::size_t> seen = order;
        std::sort(seen.begin(), seen.end());
        ASSERT_TRUE(std::adjacent_find(seen.cbegin(), seen.cend()) == seen.cend()) << "seed " << seed;
        for (std::size_t at = 1; at < order.size(); ++at) {
            ASSERT_LE(QStringView(texts[order[at - 1]]).compare(texts[order[at]]), 0)
                << "seed " << seed << " at " << at;
        }

        std::vector<QString> sorted = texts;
        std::sort(sorted.begin(), sorted.end());
        sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
        const std::vector<qint64> ranks = denseRanks(texts);
        for (std::size_t i = 0; i < texts.size(); ++i) {
            const auto expected =
                std::lower_bound(sorted.cbegin(), sorted.cend(), texts[i]) - sorted.cbegin();
            ASSERT_EQ(ranks[i], expected) << "seed " << seed << " text " << i;
        }
    }
}

TEST(TextRanksTest, TextsEndingWithinOneStepKeepTheirOrder)
{
    const std::vector<QString> texts{u"ab"_s, QString(u"ab\0"_s), u"a"_s, QString(u"ab\0\0x"_s),
                                     u""_s,   QString(u"a\0"_s),  u"ab"_s};
    std::vector<QString> many;
    for (int copy = 0; copy < 5; ++copy)
        many.insert(many.end(), texts.cbegin(), texts.cend());
    const std::vector<qint64> ranks = denseRanks(many);
    const QList<qint64> expected{3, 4, 1, 5, 0, 2, 3};
    for (std::size_t i = 0; i < many.size(); ++i)
        EXPECT_EQ(ranks[i], expected[qsizetype(i % texts.size())]) << i;
}

} // namespace
