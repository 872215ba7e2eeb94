#include "NVCUserPolicyResponse.h"

#include "RecordArchive.h"

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcUserPolicyResponse, "com.norvalis.NVCUserPolicyResponse")

namespace {

QByteArray textDescription(const QString &text)
{
    return text.isNull() ? QByteArrayLiteral("(null)") : text.toUtf8();
}

} // namespace

QString NVCUserPolicyResponse::description() const
{
    const QString queryUuid =
        query && !query->uuid.isNull() ? query->uuid.toString(QUuid::WithoutBraces).toUpper() : QString();
    // No closing bracket: log readers already match this exact form.
    return QString::asprintf("<%s: decision: %d, duration: %d, path: %s, query UUID: %s, code:%d, "
                             "constraintType:%u, operations:%d, pathType:%u, pid:%u, process:%u, userData:%s",
                             "NVCUserPolicyResponse", decision, duration, textDescription(path).constData(),
                             textDescription(queryUuid).constData(), code, constraintType, operations,
                             pathType, pid, process, textDescription(userData).constData());
}

QVariantMap NVCUserPolicyResponse::archive() const
{
    QVariantMap archive{
        {QStringLiteral("duration"), duration},
        {QStringLiteral("decision"), decision},
        {QStringLiteral("code"), code},
        {QStringLiteral("pathType"), qint32(pathType)},
        {QStringLiteral("process"), qint32(process)},
        {QStringLiteral("constraintType"), qint32(constraintType)},
        {QStringLiteral("operations"), operations},
        {QStringLiteral("pid"), qint32(pid)},
    };
    if (!path.isNull())
        archive.insert(QStringLiteral("path"), path);
    if (!userData.isNull())
        archive.insert(QStringLiteral("userData"), userData);
    if (query)
        archive.insert(QStringLiteral("query"), query->archive());
    return archive;
}

std::optional<NVCUserPolicyResponse> NVCUserPolicyResponse::unarchive(const QVariantMap &archive,
                                                                      QString *error)
{
    RecordArchiveReader reader(archive, "NVCUserPolicyResponse");
    NVCUserPolicyResponse response;
    response.duration = reader.int32("duration");
    response.decision = reader.int32("decision");
    response.code = reader.int32("code");
    response.pathType = quint32(reader.int32("pathType"));
    response.process = quint32(reader.int32("process"));
    response.constraintType = quint32(reader.int32("constraintType"));
    response.path = reader.text("path");
    response.userData = reader.text("userData");
    response.operations = reader.int32("operations");
    response.pid = quint32(reader.int32("pid"));
    const std::optional<QVariantMap> queryArchive = reader.record("query");
    QString reason = reader.error();
    if (reason.isEmpty() && queryArchive) {
        response.query = NVCPolicyQuery::unarchive(*queryArchive, &reason);
        if (!response.query)
            reason = QStringLiteral("NVCUserPolicyResponse: ") + reason;
    }
    if (!reason.isEmpty()) {
        qCWarning(lcUserPolicyResponse, "%s", qUtf8Printable(reason));
        if (error)
            *error = reason;
        return std::nullopt;
    }
    return response;
}
