#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QUuid>
#include <QVariantMap>
#include <optional>

// One access attempt the filter has seen: which process touched which path,
// the process's code-signing facts and the engines' decisions. Texts and data
// may be absent (null), which is not the same as empty.
class NVCPolicyQuery
{
public:
    // Size of the filter's fixed-layout access record.
    static constexpr qsizetype recordSize = 3408;

    // Every field zero or absent, with a fresh random uuid.
    NVCPolicyQuery();
    // From the filter's access record (native byte order); none when the
    // buffer is shorter than a record. The query gets its own fresh uuid.
    static std::optional<NVCPolicyQuery> withStruct(QByteArrayView record, const QByteArray &iconData);

    bool csValid = false;
    bool csAdHoc = false;
    bool csPlatformBinary = false;
    qint32 pid = 0;
    qint32 ppid = 0;
    quint32 flags = 0;
    quint32 constraintType = 0;
    qint32 operation = 0;
    quint32 codesignState = 0;
    qint32 engineDecision = 0;
    QString path;
    QString processName;
    QString parentName;
    QByteArray sha1;
    QString teamId;
    QByteArray sha256;
    QString csIdentity;
    QUuid uuid;
    QString codesignInfo;
    quint64 deadline = 0;
    quint64 reputationDecision = 0;
    QByteArray iconData;

    // Lower-case hex digests (40 and 64 digits); missing bytes read as zero.
    QString sha1String() const;
    QString sha256String() const;
    QString description() const;

    // Same access: uuid, deadline and icon take no part.
    bool operator==(const NVCPolicyQuery &other) const;
    size_t hash() const;

    // The bus form: a{sv} keyed by the coding keys; absent objects are left out.
    QVariantMap archive() const;
    // None with *error set when a value has the wrong type.
    static std::optional<NVCPolicyQuery> unarchive(const QVariantMap &archive, QString *error);
};

inline size_t qHash(const NVCPolicyQuery &query, size_t seed = 0)
{
    return query.hash() ^ seed;
}
