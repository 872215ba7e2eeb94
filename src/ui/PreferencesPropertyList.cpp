#include "PreferencesPropertyList.h"

#include <QDateTime>
#include <QFile>
#include <QVariantList>
#include <cstdlib>
#include <plist/plist.h>

namespace {

// Property-list dates count from 2001-01-01 UTC.
constexpr qint64 kPlistEpochOffset = 978307200;

plist_t toNode(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return plist_new_bool(value.toBool());
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        // Negative integers are stored in two's complement.
        return plist_new_uint(uint64_t(value.toLongLong()));
    case QMetaType::Double:
        return plist_new_real(value.toDouble());
    case QMetaType::QByteArray: {
        const QByteArray data = value.toByteArray();
        return plist_new_data(data.constData(), uint64_t(data.size()));
    }
    case QMetaType::QDateTime: {
        const qint64 msecs = value.toDateTime().toMSecsSinceEpoch() - kPlistEpochOffset * 1000;
        return plist_new_date(int32_t(msecs / 1000), int32_t((msecs % 1000) * 1000));
    }
    case QMetaType::QVariantList: {
        plist_t array = plist_new_array();
        for (const QVariant &item : value.toList())
            plist_array_append_item(array, toNode(item));
        return array;
    }
    case QMetaType::QVariantMap: {
        plist_t dictionary = plist_new_dict();
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it)
            plist_dict_set_item(dictionary, it.key().toUtf8().constData(), toNode(it.value()));
        return dictionary;
    }
    default:
        return plist_new_string(value.toString().toUtf8().constData());
    }
}

} // namespace

bool writePreferencesPropertyList(const QString &path, const QVariantMap &settings)
{
    plist_t dictionary = toNode(settings);
    char *xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(dictionary, &xml, &length);
    plist_free(dictionary);
    if (!xml)
        return false;
    QFile file(path);
    const bool written =
        file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(xml, length) == length;
    free(xml);
    return written;
}
