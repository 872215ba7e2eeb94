#include "SharedText.h"

#include "TextHash.h"

#include <QList>
#include <gtest/gtest.h>
#include <thread>

using namespace Qt::StringLiterals;

// Equal numbers must mean exactly equal code units: the store compares rules,
// finds groups and drops duplicates by number.
TEST(SharedText, EqualNumbersExactlyForEqualTexts)
{
    const QString kelvin = QString(QChar(0x212A)) + u"elvin";
    const QList<QString> distinct{QString(), u""_s, u"k"_s, u"K"_s, kelvin, u"Kelvin"_s, u"ß"_s, u"ss"_s};
    for (qsizetype i = 0; i < distinct.size(); ++i) {
        const SharedText shared(distinct[i]);
        EXPECT_EQ(shared.isNull(), distinct[i].isNull());
        EXPECT_EQ(shared.text().isNull(), distinct[i].isNull());
        EXPECT_EQ(shared.text(), distinct[i]);
        EXPECT_EQ(SharedText(QString(distinct[i].constData(), distinct[i].size())) == shared,
                  !distinct[i].isNull());
        for (qsizetype j = 0; j < distinct.size(); ++j)
            EXPECT_EQ(SharedText(distinct[j]) == shared, i == j) << i << " " << j;
    }
    EXPECT_EQ(SharedText(), SharedText(QString()));
}

// A text named from a caller's buffer gets the number it has as a string, and
// keeps its text once the buffer is gone, new to the process or not.
TEST(SharedText, TextsFromABufferKeepTheirNumbersAndTexts)
{
    for (const QString &text : {u"/opt/known/app"_s, u"/opt/new-from-a-buffer/app"_s, u""_s}) {
        const SharedText known = text.startsWith(u"/opt/known") ? SharedText(text) : SharedText();
        SharedText fromBuffer;
        {
            std::vector<char16_t> buffer(text.utf16(), text.utf16() + text.size() + 1);
            fromBuffer = SharedText::of(QStringView(buffer.data(), text.size()));
            std::fill(buffer.begin(), buffer.end(), u'x');
        }
        EXPECT_EQ(fromBuffer.text(), text);
        EXPECT_FALSE(fromBuffer.text().isNull());
        EXPECT_EQ(fromBuffer, SharedText(text));
        if (!known.isNull()) {
            EXPECT_EQ(fromBuffer, known);
        }
    }
    EXPECT_TRUE(SharedText::of(QStringView()).isNull());
}

// Readers on two threads name texts at once; each text must get one number,
// and texts stored by one thread must read back whole on the other.
TEST(SharedText, TwoThreadsGetTheSameNumbers)
{
    constexpr int kTexts = 20000;
    const auto name = [](int i) { return QStringLiteral("/opt/app-%1/bin/run").arg(i); };
    std::vector<SharedText> first(kTexts);
    std::vector<SharedText> second(kTexts);
    std::thread other([&] {
        for (int i = kTexts; i-- > 0;)
            second[std::size_t(i)] = SharedText(name(i));
    });
    for (int i = 0; i < kTexts; ++i)
        first[std::size_t(i)] = SharedText(name(i));
    other.join();
    for (int i = 0; i < kTexts; ++i) {
        ASSERT_EQ(first[std::size_t(i)], second[std::size_t(i)]) << i;
        ASSERT_EQ(first[std::size_t(i)].text(), name(i));
    }
}

// The tables find texts by this hash: a byte it skipped, in a whole word or in
// the tail, would pile up texts that differ only there.
TEST(TextHash, EveryByteAndTheSeedCount)
{
    for (std::size_t size = 1; size <= 40; ++size) {
        const QByteArray text(qsizetype(size), 'a');
        const quint64 hash = TextHash::ofBytes(text.constData(), size, 7);
        EXPECT_NE(TextHash::ofBytes(text.constData(), size, 8), hash) << size;
        EXPECT_NE(TextHash::ofBytes(text.constData(), size - 1, 7), hash) << size;
        for (std::size_t at = 0; at < size; ++at) {
            QByteArray changed = text;
            changed[qsizetype(at)] = 'b';
            EXPECT_NE(TextHash::ofBytes(changed.constData(), size, 7), hash) << size << " " << at;
        }
    }
    EXPECT_EQ(TextHash::ofUnits(u"/opt/app"_s, 3), TextHash::ofBytes(u"/opt/app", 16, 3));
}
