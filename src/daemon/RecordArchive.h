#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>
#include <optional>

// Reads a record's a{sv} archive with a type check on every value. A missing
// key gives the zero value (absent object: null); a value of the wrong type
// stops the reading and leaves a text naming the key.
class RecordArchiveReader
{
public:
    RecordArchiveReader(const QVariantMap &archive, const char *recordName);

    bool ok() const { return m_error.isEmpty(); }
    QString error() const { return m_error; }

    bool boolean(const char *key);
    qint32 int32(const char *key);
    quint32 uint32(const char *key);
    qint64 int64(const char *key);
    QString text(const char *key);
    QByteArray data(const char *key);
    // A nested record; a map that crossed the bus arrives as a QDBusArgument.
    std::optional<QVariantMap> record(const char *key);

private:
    QVariant take(const char *key, int metaType, const char *typeName);

    const QVariantMap &m_archive;
    const char *m_recordName;
    QString m_error;
};
