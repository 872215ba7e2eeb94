#include "NVCPolicyQuery.h"

#include "RecordArchive.h"
#include "StringEquality.h"

#include <QFile>
#include <QHash>
#include <QLoggingCategory>
#include <cstring>

Q_LOGGING_CATEGORY(lcPolicyQuery, "com.norvalis.NVCPolicyQuery")

namespace {

// Byte offsets of the filter's access record.
namespace Record {
constexpr qsizetype Pid = 0;
constexpr qsizetype Ppid = 4;
constexpr qsizetype Flags = 8;
constexpr qsizetype ReputationDecision = 16;
constexpr qsizetype EngineDecision = 32;
constexpr qsizetype Path = 36;
constexpr qsizetype ProcessName = 1060;
constexpr qsizetype ParentName = 2084;
constexpr qsizetype NameCapacity = 1024;
constexpr qsizetype Sha1 = 3108;
constexpr qsizetype Sha1Size = 20;
constexpr qsizetype Sha256 = 3128;
constexpr qsizetype Sha256Size = 32;
constexpr qsizetype ConstraintType = 3160;
constexpr qsizetype Operation = 3168;
constexpr qsizetype CodesignState = 3172;
constexpr qsizetype CsValid = 3180;
constexpr qsizetype CsAdHoc = 3184;
constexpr qsizetype CsPlatformBinary = 3188;
constexpr qsizetype CsIdentity = 3192;
constexpr qsizetype CsIdentityCapacity = 64;
constexpr qsizetype TeamId = 3256;
constexpr qsizetype TeamIdCapacity = 16;
constexpr qsizetype CodesignInfo = 3272;
constexpr qsizetype CodesignInfoCapacity = 128;
constexpr qsizetype Deadline = 3400;
} // namespace Record

template <typename T> T scalarAt(QByteArrayView record, qsizetype offset)
{
    T value;
    std::memcpy(&value, record.data() + offset, sizeof value);
    return value;
}

// The bytes of a NUL-terminated field; the whole field when it has no NUL.
QByteArrayView cStringAt(QByteArrayView record, qsizetype offset, qsizetype capacity)
{
    const char *start = record.data() + offset;
    const void *nul = std::memchr(start, 0, size_t(capacity));
    return QByteArrayView(start, nul ? static_cast<const char *>(nul) - start : capacity);
}

// An empty field is an empty text, never an absent one.
QString nonNull(QString text)
{
    return text.isNull() ? QStringLiteral("") : text;
}

QString hexDigest(const QByteArray &data, qsizetype size)
{
    QByteArray bytes = data.left(size);
    bytes.append(size - bytes.size(), '\0');
    return QString::fromLatin1(bytes.toHex());
}

QByteArray textDescription(const QString &text)
{
    return text.isNull() ? QByteArrayLiteral("(null)") : text.toUtf8();
}

QByteArray dataDescription(const QByteArray &data)
{
    if (data.isNull())
        return QByteArrayLiteral("(null)");
    // Hex in groups of four bytes, the usual way a digest is printed in logs.
    QByteArray text = "<";
    for (qsizetype at = 0; at < data.size(); at += 4)
        text += (at ? " " : "") + data.mid(at, 4).toHex();
    return text + '>';
}

QString uuidText(const QUuid &uuid)
{
    return uuid.isNull() ? QString() : uuid.toString(QUuid::WithoutBraces).toUpper();
}

bool dataEqual(const QByteArray &a, const QByteArray &b)
{
    if (a.isNull() || b.isNull())
        return a.isNull() && b.isNull();
    return a == b;
}

size_t objectHash(const QString &text)
{
    return text.isNull() ? 0 : qHash(text);
}

size_t objectHash(const QByteArray &data)
{
    return data.isNull() ? 0 : qHash(data);
}

// Signed fields widen with their sign, as the hash has always mixed them.
size_t widened(qint32 value)
{
    return size_t(qint64(value));
}

} // namespace

NVCPolicyQuery::NVCPolicyQuery()
    : uuid(QUuid::createUuid())
{}

std::optional<NVCPolicyQuery> NVCPolicyQuery::withStruct(QByteArrayView record, const QByteArray &iconData)
{
    if (record.size() < recordSize) {
        qCWarning(lcPolicyQuery, "access record of %lld bytes is shorter than %lld",
                  static_cast<long long>(record.size()), static_cast<long long>(recordSize));
        return std::nullopt;
    }
    NVCPolicyQuery query;
    query.pid = scalarAt<qint32>(record, Record::Pid);
    query.ppid = scalarAt<qint32>(record, Record::Ppid);
    query.flags = scalarAt<quint32>(record, Record::Flags);
    query.reputationDecision = scalarAt<quint64>(record, Record::ReputationDecision);
    query.engineDecision = scalarAt<qint32>(record, Record::EngineDecision);
    query.path =
        nonNull(QFile::decodeName(cStringAt(record, Record::Path, Record::NameCapacity).toByteArray()));
    query.processName = nonNull(
        QFile::decodeName(cStringAt(record, Record::ProcessName, Record::NameCapacity).toByteArray()));
    query.parentName =
        nonNull(QFile::decodeName(cStringAt(record, Record::ParentName, Record::NameCapacity).toByteArray()));
    query.sha1 = record.sliced(Record::Sha1, Record::Sha1Size).toByteArray();
    query.sha256 = record.sliced(Record::Sha256, Record::Sha256Size).toByteArray();
    query.constraintType = scalarAt<quint32>(record, Record::ConstraintType);
    query.operation = scalarAt<qint32>(record, Record::Operation);
    query.codesignState = scalarAt<quint32>(record, Record::CodesignState);
    query.csValid = scalarAt<quint32>(record, Record::CsValid) == 1;
    query.csAdHoc = scalarAt<quint32>(record, Record::CsAdHoc) == 1;
    query.csPlatformBinary = scalarAt<quint32>(record, Record::CsPlatformBinary) == 1;
    query.csIdentity =
        nonNull(QString::fromLatin1(cStringAt(record, Record::CsIdentity, Record::CsIdentityCapacity)));
    query.teamId = nonNull(QString::fromLatin1(cStringAt(record, Record::TeamId, Record::TeamIdCapacity)));
    query.codesignInfo =
        nonNull(QString::fromUtf8(cStringAt(record, Record::CodesignInfo, Record::CodesignInfoCapacity)));
    query.deadline = scalarAt<quint64>(record, Record::Deadline);
    query.iconData = iconData;
    return query;
}

QString NVCPolicyQuery::sha1String() const
{
    return hexDigest(sha1, Record::Sha1Size);
}

QString NVCPolicyQuery::sha256String() const
{
    return hexDigest(sha256, Record::Sha256Size);
}

QString NVCPolicyQuery::description() const
{
    return QString::asprintf(
        "<NVCPolicyQuery UUID:%s pid:%d procName:%s ppid:%d parentName:%s engineDecision:%d "
        "reputationDecision:%llu oper:%d path:%s codesignInfo:%s codesignState:%u constraintType:%u "
        "csAdHoc:%d csIdentity:%s csPlatformBinary:%hhd csValid:%u flags:%u sha1:%s sha256:%s teamId:%s "
        "deadline:%llu>",
        textDescription(uuidText(uuid)).constData(), pid, textDescription(processName).constData(), ppid,
        textDescription(parentName).constData(), engineDecision,
        static_cast<unsigned long long>(reputationDecision), operation, textDescription(path).constData(),
        textDescription(codesignInfo).constData(), codesignState, constraintType, int(csAdHoc),
        textDescription(csIdentity).constData(), static_cast<signed char>(csPlatformBinary),
        unsigned(csValid), flags, dataDescription(sha1).constData(), dataDescription(sha256).constData(),
        textDescription(teamId).constData(), static_cast<unsigned long long>(deadline));
}

bool NVCPolicyQuery::operator==(const NVCPolicyQuery &other) const
{
    if (this == &other)
        return true;
    return isStringEqualToString(codesignInfo, other.codesignInfo) &&
           isStringEqualToString(path, other.path) && isStringEqualToString(processName, other.processName) &&
           isStringEqualToString(parentName, other.parentName) &&
           isStringEqualToString(teamId, other.teamId) &&
           isStringEqualToString(csIdentity, other.csIdentity) && dataEqual(sha1, other.sha1) &&
           dataEqual(sha256, other.sha256) && operation == other.operation &&
           constraintType == other.constraintType && pid == other.pid && ppid == other.ppid &&
           codesignState == other.codesignState && csAdHoc == other.csAdHoc && csValid == other.csValid &&
           flags == other.flags && csPlatformBinary == other.csPlatformBinary &&
           engineDecision == other.engineDecision && reputationDecision == other.reputationDecision;
}

size_t NVCPolicyQuery::hash() const
{
    return widened(pid) ^ widened(ppid) ^ size_t(flags) ^ size_t(csValid) ^ size_t(csPlatformBinary) ^
           size_t(codesignState) ^ widened(engineDecision) ^ size_t(reputationDecision) ^
           widened(qint32(constraintType)) ^ widened(operation) ^ size_t(csAdHoc) ^ objectHash(csIdentity) ^
           objectHash(processName) ^ objectHash(parentName) ^ objectHash(codesignInfo) ^ objectHash(path) ^
           objectHash(teamId) ^ objectHash(sha1) ^ objectHash(sha256);
}

QVariantMap NVCPolicyQuery::archive() const
{
    QVariantMap archive{
        {QStringLiteral("pid"), pid},
        {QStringLiteral("ppid"), ppid},
        {QStringLiteral("flags"), flags},
        {QStringLiteral("constraintType"), qint32(constraintType)},
        {QStringLiteral("operation"), operation},
        {QStringLiteral("csValid"), csValid},
        {QStringLiteral("csAdHoc"), csAdHoc},
        {QStringLiteral("csPlatformBinary"), csPlatformBinary},
        {QStringLiteral("codesignState"), qint32(codesignState)},
        {QStringLiteral("engineDecision"), engineDecision},
        {QStringLiteral("deadline"), qint64(deadline)},
        {QStringLiteral("reputationDecision"), qint64(reputationDecision)},
    };
    const auto putText = [&archive](const char *key, const QString &value) {
        if (!value.isNull())
            archive.insert(QLatin1String(key), value);
    };
    const auto putData = [&archive](const char *key, const QByteArray &value) {
        if (!value.isNull())
            archive.insert(QLatin1String(key), value);
    };
    putText("path", path);
    putText("processName", processName);
    putText("parentName", parentName);
    putData("sha1", sha1);
    putText("teamId", teamId);
    putData("sha256", sha256);
    putText("csIdentity", csIdentity);
    putText("uuid", uuidText(uuid));
    putText("codesignInfo", codesignInfo);
    putData("iconData", iconData);
    return archive;
}

std::optional<NVCPolicyQuery> NVCPolicyQuery::unarchive(const QVariantMap &archive, QString *error)
{
    RecordArchiveReader reader(archive, "NVCPolicyQuery");
    NVCPolicyQuery query;
    query.pid = reader.int32("pid");
    query.ppid = reader.int32("ppid");
    query.flags = reader.uint32("flags");
    query.path = reader.text("path");
    query.processName = reader.text("processName");
    query.parentName = reader.text("parentName");
    query.sha1 = reader.data("sha1");
    query.teamId = reader.text("teamId");
    query.sha256 = reader.data("sha256");
    query.constraintType = quint32(reader.int32("constraintType"));
    query.operation = reader.int32("operation");
    query.csValid = reader.boolean("csValid");
    query.csAdHoc = reader.boolean("csAdHoc");
    query.csPlatformBinary = reader.boolean("csPlatformBinary");
    query.csIdentity = reader.text("csIdentity");
    const QString uuidValue = reader.text("uuid");
    query.codesignState = quint32(reader.int32("codesignState"));
    query.engineDecision = reader.int32("engineDecision");
    query.codesignInfo = reader.text("codesignInfo");
    query.deadline = quint64(reader.int64("deadline"));
    // Written with 64 bits but read back through 32: larger values do not survive.
    query.reputationDecision = quint64(qint64(qint32(reader.int64("reputationDecision"))));
    query.iconData = reader.data("iconData");
    QString reason = reader.error();
    query.uuid = QUuid::fromString(uuidValue);
    if (reason.isEmpty() && !uuidValue.isNull() && query.uuid.isNull())
        reason = QStringLiteral("NVCPolicyQuery: \"uuid\" is not a UUID: %1").arg(uuidValue);
    if (!reason.isEmpty()) {
        qCWarning(lcPolicyQuery, "%s", qUtf8Printable(reason));
        if (error)
            *error = reason;
        return std::nullopt;
    }
    return query;
}
