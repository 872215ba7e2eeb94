#include "RecordArchive.h"

#include <QDBusArgument>
#include <QDBusMetaType>

RecordArchiveReader::RecordArchiveReader(const QVariantMap &archive, const char *recordName)
    : m_archive(archive)
    , m_recordName(recordName)
{}

QVariant RecordArchiveReader::take(const char *key, int metaType, const char *typeName)
{
    if (!ok())
        return {};
    const QVariant value = m_archive.value(QLatin1String(key));
    if (!value.isValid() || value.metaType().id() == metaType)
        return value;
    m_error = QStringLiteral("%1: the value of \"%2\" is a %3, not a %4")
                  .arg(QLatin1String(m_recordName), QLatin1String(key),
                       QLatin1String(value.metaType().name()), QLatin1String(typeName));
    return {};
}

bool RecordArchiveReader::boolean(const char *key)
{
    return take(key, QMetaType::Bool, "boolean").toBool();
}

qint32 RecordArchiveReader::int32(const char *key)
{
    return take(key, QMetaType::Int, "32-bit integer").toInt();
}

quint32 RecordArchiveReader::uint32(const char *key)
{
    return take(key, QMetaType::UInt, "32-bit unsigned integer").toUInt();
}

qint64 RecordArchiveReader::int64(const char *key)
{
    return take(key, QMetaType::LongLong, "64-bit integer").toLongLong();
}

QString RecordArchiveReader::text(const char *key)
{
    return take(key, QMetaType::QString, "string").toString();
}

QByteArray RecordArchiveReader::data(const char *key)
{
    return take(key, QMetaType::QByteArray, "byte array").toByteArray();
}

std::optional<QVariantMap> RecordArchiveReader::record(const char *key)
{
    if (!ok())
        return std::nullopt;
    const QVariant value = m_archive.value(QLatin1String(key));
    if (!value.isValid())
        return std::nullopt;
    if (value.metaType().id() == QMetaType::QVariantMap)
        return value.toMap();
    if (value.metaType() == QMetaType::fromType<QDBusArgument>()) {
        const QDBusArgument argument = value.value<QDBusArgument>();
        if (argument.currentSignature() == QLatin1String("a{sv}"))
            return qdbus_cast<QVariantMap>(argument);
    }
    m_error = QStringLiteral("%1: the value of \"%2\" is not a record")
                  .arg(QLatin1String(m_recordName), QLatin1String(key));
    return std::nullopt;
}
