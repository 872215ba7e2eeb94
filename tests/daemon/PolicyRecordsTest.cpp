#include "ByteRecord.h"
#include "NVCPolicyQuery.h"
#include "NVCUserPolicyResponse.h"

#include <gtest/gtest.h>
#include <tuple>

namespace {

ByteRecord typicalRecord()
{
    ByteRecord record(NVCPolicyQuery::recordSize);
    record.put<quint32>(0, 4242)
        .put<quint32>(4, 1)
        .put<quint32>(8, 0x80000001u)
        .put<quint64>(16, 7)
        .put<quint32>(32, 2)
        .putText(36, "/home/ana/Documents/tax.pdf")
        .putText(1060, "/usr/bin/evince")
        .putText(2084, "/usr/lib/systemd/systemd")
        .putText(3108, QByteArray(20, char(0xab)))
        .putText(3128, QByteArray(32, char(0xcd)))
        .put<quint32>(3160, 3)
        .put<quint32>(3168, 16)
        .put<quint32>(3172, 0x2000)
        .put<quint32>(3180, 1)
        .put<quint32>(3184, 2)
        .put<quint32>(3188, 1)
        .putText(3192, "org.gnome.Evince")
        .putText(3272, "signé par l'éditeur")
        .put<quint64>(3400, 1700000000123ull);
    return record;
}

NVCPolicyQuery typicalQuery()
{
    return *NVCPolicyQuery::withStruct(typicalRecord().bytes, QByteArray("icon"));
}

TEST(PolicyQueryRecord, EveryFieldIsTakenFromItsOffset)
{
    const std::optional<NVCPolicyQuery> query = typicalQuery();
    EXPECT_EQ(std::tuple(query->pid, query->ppid, query->engineDecision, query->operation),
              std::tuple(4242, 1, 2, 16));
    EXPECT_EQ(std::tuple(query->flags, query->constraintType, query->codesignState),
              std::tuple(0x80000001u, 3u, 0x2000u));
    EXPECT_EQ(std::tuple(query->reputationDecision, query->deadline), std::tuple(7ull, 1700000000123ull));
    EXPECT_EQ(QStringList({query->path, query->processName, query->parentName, query->csIdentity,
                           query->codesignInfo}),
              QStringList({"/home/ana/Documents/tax.pdf", "/usr/bin/evince", "/usr/lib/systemd/systemd",
                           "org.gnome.Evince", "signé par l'éditeur"}));
    EXPECT_EQ(query->sha1 + query->sha256, QByteArray(20, char(0xab)) + QByteArray(32, char(0xcd)));
    EXPECT_TRUE(query->csValid && query->csPlatformBinary);
    EXPECT_FALSE(query->csAdHoc) << "only 1 means yes";
    EXPECT_EQ(query->iconData, QByteArray("icon"));
    EXPECT_FALSE(query->uuid.isNull());
    EXPECT_TRUE(query->teamId.isEmpty() && !query->teamId.isNull()) << "empty, not absent";
    EXPECT_EQ(query->sha1String(), QStringLiteral("ab").repeated(20)) << "lower-case hex";
    EXPECT_EQ(NVCPolicyQuery().sha1String(), QStringLiteral("0").repeated(40)) << "no digest reads as zeros";
}

TEST(PolicyQueryRecord, UnterminatedTextsStopAtTheirFieldAndShortBuffersAreRefused)
{
    ByteRecord record = typicalRecord();
    record.putText(36, QByteArray(1024, 'p')).putText(3256, QByteArray(16, 'T'));
    const std::optional<NVCPolicyQuery> query = NVCPolicyQuery::withStruct(record.bytes, {});
    ASSERT_TRUE(query);
    EXPECT_EQ(query->path, QString(1024, QLatin1Char('p')));
    EXPECT_EQ(query->processName, QStringLiteral("/usr/bin/evince"));
    EXPECT_EQ(query->teamId, QString(16, QLatin1Char('T')));

    EXPECT_FALSE(NVCPolicyQuery::withStruct(record.bytes.left(NVCPolicyQuery::recordSize - 1), {}));
}

TEST(PolicyQueryEquality, OnlyDecidingFieldsMatterAndAbsentTextsMatchOnlyAbsentOnes)
{
    const NVCPolicyQuery original = typicalQuery();
    NVCPolicyQuery later = typicalQuery();
    later.deadline += 60;
    later.iconData = QByteArray("other icon");
    EXPECT_NE(original.uuid, later.uuid);
    EXPECT_EQ(original, later);
    EXPECT_EQ(original.hash(), later.hash());

    const std::vector<std::function<void(NVCPolicyQuery &)>> changes = {
        [](NVCPolicyQuery &q) { q.ppid = 2; },
        [](NVCPolicyQuery &q) { q.parentName = QStringLiteral("/bin/sh"); },
        [](NVCPolicyQuery &q) { q.teamId = QString(); },
        [](NVCPolicyQuery &q) { q.sha256 = QByteArray(); },
    };
    for (size_t index = 0; index < changes.size(); ++index) {
        NVCPolicyQuery changed = original;
        changes[index](changed);
        EXPECT_FALSE(changed == original) << index;
    }
    NVCPolicyQuery blank;
    blank.path = QStringLiteral("");
    EXPECT_FALSE(blank == NVCPolicyQuery());
}

TEST(PolicyQueryText, ResponseDescriptionHasNoClosingBracket)
{
    NVCUserPolicyResponse response;
    response.decision = 1;
    EXPECT_TRUE(
        response.description().endsWith(QStringLiteral("query UUID: (null), code:0, constraintType:0, "
                                                       "operations:0, pathType:0, pid:0, process:0, "
                                                       "userData:(null)")));
}

TEST(PolicyRecordCoding, ReputationDecisionComesBackThroughThirtyTwoBitsAndWrongTypesNameTheKey)
{
    // -1 keeps its sign; the high half is lost.
    const std::pair<quint64, quint64> cases[] = {
        {~0ull, ~0ull}, {0x80000000ull, 0xffffffff80000000ull}, {0x100000005ull, 5}};
    for (const auto &[written, read] : cases) {
        NVCPolicyQuery query;
        query.reputationDecision = written;
        const auto decoded = NVCPolicyQuery::unarchive(query.archive(), nullptr);
        ASSERT_TRUE(decoded);
        EXPECT_EQ(decoded->reputationDecision, read) << written;
    }

    const QVariantMap good = typicalQuery().archive();
    const std::vector<std::pair<QString, QVariant>> bad = {
        {QStringLiteral("pid"), QStringLiteral("4242")},
        {QStringLiteral("flags"), qint32(1)},
        {QStringLiteral("csValid"), 1},
        {QStringLiteral("uuid"), QStringLiteral("not-a-uuid")},
    };
    for (const auto &[key, value] : bad) {
        QVariantMap archive = good;
        archive.insert(key, value);
        QString error;
        EXPECT_FALSE(NVCPolicyQuery::unarchive(archive, &error)) << key.toStdString();
        EXPECT_TRUE(error.contains(key)) << error.toStdString();
    }
}

} // namespace
