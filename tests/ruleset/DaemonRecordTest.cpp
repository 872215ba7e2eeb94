#include "DaemonRuleRecord.h"
#include "PolicyRule.h"

#include <QDateTime>
#include <cstring>
#include <gtest/gtest.h>

namespace {

namespace R = DaemonRuleRecord;

// Builds a daemon rule record byte by byte, as the filter lays it out.
class RecordBuilder
{
public:
    RecordBuilder()
        : m_bytes(R::MinimumSize, '\0')
    {}

    template <typename T> RecordBuilder &put(std::size_t offset, T value)
    {
        std::memcpy(m_bytes.data() + offset, &value, sizeof value);
        return *this;
    }
    RecordBuilder &u32(std::size_t offset, quint32 value) { return put(offset, value); }
    RecordBuilder &i64(std::size_t offset, qint64 value) { return put(offset, value); }
    RecordBuilder &text(std::size_t offset, const QByteArray &value)
    {
        std::memcpy(m_bytes.data() + offset, value.constData(), std::size_t(value.size()));
        return *this;
    }
    QByteArray bytes() const { return m_bytes; }

private:
    QByteArray m_bytes;
};

RecordBuilder denyRecord()
{
    RecordBuilder record;
    record.u32(R::PolicyClass, 1)
        .u32(R::PolicyType, 0)
        .text(R::ProcessPath, "/usr/bin/tool")
        .text(R::FilePath, "/home/ann/Documents/")
        .u32(R::Operations, 0x13)
        .i64(R::Created, 1700000000);
    return record;
}

TEST(DaemonRecord, RendersPolicyLine)
{
    EXPECT_EQ(PolicyRule::textForRule(denyRecord().bytes(), QString()).value_or("none"),
              "deny prefix \"/home/ann/Documents/\" \"/usr/bin/tool\" rwx \"\" \"\" \"1700000000\"\n");
    EXPECT_EQ(PolicyRule::textForRule(denyRecord().bytes(), "/home/ann").value_or("none"),
              "deny prefix \"~/Documents/\" \"/usr/bin/tool\" rwx \"\" \"\" \"1700000000\"\n");
    // An empty home directory abbreviates nothing.
    EXPECT_TRUE(PolicyRule::textForRule(denyRecord().bytes(), "")->contains("\"/home/ann/Documents/\""));
}

TEST(DaemonRecord, ProcessRelationsAndEmptyFields)
{
    RecordBuilder record;
    record.u32(R::PolicyClass, 0).u32(R::PolicyType, 7).u32(R::ProcessRelation, R::RelationVia);
    record.i64(R::Created, 5);
    EXPECT_EQ(*PolicyRule::textForRule(record.bytes(), QString()),
              "allow suffix \"any\" \"any via any\"  \"\" \"\" \"5\"\n");
    record.text(R::ProcessPath, "/bin/sh")
        .text(R::RelatedProcessPath, "/sbin/init")
        .u32(R::ProcessRelation, R::RelationAncestor)
        .u32(R::PolicyType, 1);
    EXPECT_TRUE(PolicyRule::textForRule(record.bytes(), QString())
                    ->startsWith("allow path \"any\" \"/bin/sh ancestor /sbin/init\" "));
}

TEST(DaemonRecord, FlagsFieldIsCutAtFifteenCharacters)
{
    const auto flagsOf = [](quint32 flags, quint32 temporary, quint32 restart) {
        RecordBuilder record = denyRecord();
        record.u32(R::Flags, flags).u32(R::Temporary, temporary).u32(R::Restart, restart);
        return PolicyRule::textForRule(record.bytes(), QString())->section(u'"', 5, 5);
    };
    EXPECT_EQ(flagsOf(4, 0, 0), "t");
    EXPECT_EQ(flagsOf(4 | 1, 1, 0), "t(temporary)");
    EXPECT_EQ(flagsOf(0, 0, 9), "(restart)");
    EXPECT_EQ(flagsOf(4, 1, 1), "t(temporary)(re");
    EXPECT_EQ(flagsOf(0, 1, 1), "(temporary)(res");
}

TEST(DaemonRecord, Constraints)
{
    RecordBuilder record = denyRecord();
    record.u32(R::ConstraintKind, R::ConstraintKindIdentifier).text(R::ConstraintValue, "TEAM123456");
    EXPECT_EQ(PolicyRule::constraintStringForRule(record.bytes()), "TEAM123456");
    EXPECT_TRUE(PolicyRule::textForRule(record.bytes(), QString())->contains("\"\" \"TEAM123456\""));

    QByteArray hash(32, '\0');
    for (int i = 0; i < 32; ++i)
        hash[i] = char(0xa0 + i);
    record.u32(R::ConstraintKind, R::ConstraintKindHash).text(R::ConstraintValue, hash);
    EXPECT_EQ(PolicyRule::constraintStringForRule(record.bytes()), QString::fromLatin1(hash.toHex()));
    EXPECT_EQ(PolicyRule::constraintStringForRule(record.bytes()).size(), 64);

    hash[0] = '\0';
    record.text(R::ConstraintValue, hash);
    EXPECT_EQ(PolicyRule::constraintStringForRule(record.bytes()), "");
    record.u32(R::ConstraintKind, 3).text(R::ConstraintValue, "ID");
    EXPECT_EQ(PolicyRule::constraintStringForRule(record.bytes()), "");
}

TEST(DaemonRecord, WatchUnknownAndShortRecords)
{
    RecordBuilder record = denyRecord();
    record.u32(R::PolicyClass, 2).u32(R::Flags, 4).u32(R::Temporary, 1);
    EXPECT_EQ(*PolicyRule::textForRule(record.bytes(), "/home/ann"),
              "watch prefix \"/home/ann/Documents/\" \"/usr/bin/tool\" rwx \"\"\n");

    record.u32(R::PolicyClass, 3);
    EXPECT_FALSE(PolicyRule::textForRule(record.bytes(), QString()).has_value());
    EXPECT_FALSE(
        PolicyRule::textForRule(denyRecord().bytes().left(R::MinimumSize - 1), QString()).has_value());
    EXPECT_EQ(PolicyRule::constraintStringForRule(QByteArray(10, 'x')), "");
}

TEST(DaemonRecord, UnknownCreationTimeBecomesNow)
{
    RecordBuilder record = denyRecord();
    record.i64(R::Created, 0);
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    const qint64 written =
        PolicyRule::textForRule(record.bytes(), QString())->section(u'"', 9, 9).toLongLong();
    EXPECT_GE(written, before);
    EXPECT_LE(written, QDateTime::currentSecsSinceEpoch());
}

TEST(DaemonRecord, UnterminatedPathsAreCutAtCapacity)
{
    RecordBuilder record = denyRecord();
    record.text(R::ProcessPath, QByteArray(1024, 'p'))
        .text(R::RelatedProcessPath, QByteArray(1024, 'q'))
        .u32(R::ProcessRelation, R::RelationAncestor);
    const QString process = PolicyRule::textForRule(record.bytes(), QString())->section(u'"', 3, 3);
    EXPECT_EQ(process.size(), 2055);
    EXPECT_TRUE(process.startsWith(QString(1023, u'p') + " ancestor q"));
}

} // namespace
