#include "ByteRecord.h"
#include "DaemonRuleRecord.h"
#include "PolicyRule.h"

#include <QDateTime>
#include <gtest/gtest.h>

namespace {

namespace R = DaemonRuleRecord;

ByteRecord denyRecord()
{
    ByteRecord record(R::MinimumSize);
    record.put<quint32>(R::PolicyClass, 1)
        .put<quint32>(R::PolicyType, 0)
        .putText(R::ProcessPath, "/usr/bin/tool")
        .putText(R::FilePath, "/home/ann/Documents/")
        .put<quint32>(R::Operations, 0x13)
        .put<qint64>(R::Created, 1700000000);
    return record;
}

TEST(DaemonRecord, RendersPolicyLine)
{
    EXPECT_EQ(PolicyRule::textForRule(denyRecord().bytes, QString()).value_or("none"),
              "deny prefix \"/home/ann/Documents/\" \"/usr/bin/tool\" rwx \"\" \"\" \"1700000000\"\n");
    EXPECT_EQ(PolicyRule::textForRule(denyRecord().bytes, "/home/ann").value_or("none"),
              "deny prefix \"~/Documents/\" \"/usr/bin/tool\" rwx \"\" \"\" \"1700000000\"\n");
}

TEST(DaemonRecord, ProcessRelationsAndEmptyFields)
{
    ByteRecord record(R::MinimumSize);
    record.put<quint32>(R::PolicyClass, 0)
        .put<quint32>(R::PolicyType, 7)
        .put<quint32>(R::ProcessRelation, R::RelationVia);
    record.put<qint64>(R::Created, 5);
    EXPECT_EQ(*PolicyRule::textForRule(record.bytes, QString()),
              "allow suffix \"any\" \"any via any\"  \"\" \"\" \"5\"\n");
    record.putText(R::ProcessPath, "/bin/sh")
        .putText(R::RelatedProcessPath, "/sbin/init")
        .put<quint32>(R::ProcessRelation, R::RelationAncestor)
        .put<quint32>(R::PolicyType, 1);
    EXPECT_TRUE(PolicyRule::textForRule(record.bytes, QString())
                    ->startsWith("allow path \"any\" \"/bin/sh ancestor /sbin/init\" "));
}

TEST(DaemonRecord, FlagsFieldIsCutAtFifteenCharacters)
{
    const auto flagsOf = [](quint32 flags, quint32 temporary, quint32 restart) {
        ByteRecord record = denyRecord();
        record.put<quint32>(R::Flags, flags)
            .put<quint32>(R::Temporary, temporary)
            .put<quint32>(R::Restart, restart);
        return PolicyRule::textForRule(record.bytes, QString())->section(u'"', 5, 5);
    };
    EXPECT_EQ(flagsOf(4 | 1, 1, 0), "t(temporary)");
    EXPECT_EQ(flagsOf(4, 1, 1), "t(temporary)(re");
    EXPECT_EQ(flagsOf(0, 1, 1), "(temporary)(res");
}

TEST(DaemonRecord, Constraints)
{
    ByteRecord record = denyRecord();
    record.put<quint32>(R::ConstraintKind, R::ConstraintKindIdentifier)
        .putText(R::ConstraintValue, "TEAM123456");
    EXPECT_TRUE(PolicyRule::textForRule(record.bytes, QString())->contains("\"\" \"TEAM123456\""));

    QByteArray hash(32, '\0');
    for (int i = 0; i < 32; ++i)
        hash[i] = char(0xa0 + i);
    record.put<quint32>(R::ConstraintKind, R::ConstraintKindHash).putText(R::ConstraintValue, hash);
    EXPECT_EQ(PolicyRule::constraintStringForRule(record.bytes), QString::fromLatin1(hash.toHex()));

    hash[0] = '\0';
    record.putText(R::ConstraintValue, hash);
    EXPECT_EQ(PolicyRule::constraintStringForRule(record.bytes), "");
    record.put<quint32>(R::ConstraintKind, 3).putText(R::ConstraintValue, "ID");
    EXPECT_EQ(PolicyRule::constraintStringForRule(record.bytes), "");
}

TEST(DaemonRecord, WatchUnknownAndShortRecords)
{
    ByteRecord record = denyRecord();
    record.put<quint32>(R::PolicyClass, 2).put<quint32>(R::Flags, 4).put<quint32>(R::Temporary, 1);
    EXPECT_EQ(*PolicyRule::textForRule(record.bytes, "/home/ann"),
              "watch prefix \"/home/ann/Documents/\" \"/usr/bin/tool\" rwx \"\"\n");

    record.put<quint32>(R::PolicyClass, 3);
    EXPECT_FALSE(PolicyRule::textForRule(record.bytes, QString()).has_value());
    EXPECT_FALSE(PolicyRule::textForRule(denyRecord().bytes.left(R::MinimumSize - 1), QString()).has_value());
    EXPECT_EQ(PolicyRule::constraintStringForRule(QByteArray(10, 'x')), "");
}

TEST(DaemonRecord, UnknownCreationTimeBecomesNow)
{
    ByteRecord record = denyRecord();
    record.put<qint64>(R::Created, 0);
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    const qint64 written = PolicyRule::textForRule(record.bytes, QString())->section(u'"', 9, 9).toLongLong();
    EXPECT_GE(written, before);
    EXPECT_LE(written, QDateTime::currentSecsSinceEpoch());
}

TEST(DaemonRecord, UnterminatedPathsAreCutAtCapacity)
{
    ByteRecord record = denyRecord();
    record.putText(R::ProcessPath, QByteArray(1024, 'p'))
        .putText(R::RelatedProcessPath, QByteArray(1024, 'q'))
        .put<quint32>(R::ProcessRelation, R::RelationAncestor);
    const QString process = PolicyRule::textForRule(record.bytes, QString())->section(u'"', 3, 3);
    EXPECT_EQ(process.size(), 2055);
    EXPECT_TRUE(process.startsWith(QString(1023, u'p') + " ancestor q"));
}

} // namespace
