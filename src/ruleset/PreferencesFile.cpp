#include "PreferencesFile.h"

#include "RuleLogging.h"

#include <QDateTime>
#include <QFile>
#include <QVariantList>
#include <plist/plist.h>

namespace {

// Property-list dates count from 2001-01-01 UTC.
constexpr qint64 kPlistEpochOffset = 978307200;

QVariant toVariant(plist_t node);

QVariantMap dictionaryToMap(plist_t dictionary)
{
    QVariantMap map;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(dictionary, &iterator);
    if (!iterator)
        return map;
    for (;;) {
        char *key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(dictionary, iterator, &key, &value);
        if (!key)
            break;
        map.insert(QString::fromUtf8(key), toVariant(value));
        free(key);
    }
    free(iterator);
    return map;
}

QVariant toVariant(plist_t node)
{
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return bool(value);
    }
    case PLIST_UINT: {
        // Negative integers are stored in two's complement.
        uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return qlonglong(value);
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return value;
    }
    case PLIST_STRING: {
        char *value = nullptr;
        plist_get_string_val(node, &value);
        const QString text = QString::fromUtf8(value);
        free(value);
        return text;
    }
    case PLIST_DATA: {
        char *value = nullptr;
        uint64_t length = 0;
        plist_get_data_val(node, &value, &length);
        const QByteArray data(value, qsizetype(length));
        free(value);
        return data;
    }
    case PLIST_DATE: {
        int32_t seconds = 0, microseconds = 0;
        plist_get_date_val(node, &seconds, &microseconds);
        return QDateTime::fromMSecsSinceEpoch((kPlistEpochOffset + seconds) * 1000 + microseconds / 1000,
                                              Qt::UTC);
    }
    case PLIST_ARRAY: {
        QVariantList list;
        const uint32_t count = plist_array_get_size(node);
        for (uint32_t i = 0; i < count; ++i)
            list.append(toVariant(plist_array_get_item(node, i)));
        return list;
    }
    case PLIST_DICT:
        return dictionaryToMap(node);
    default:
        return {};
    }
}

} // namespace

std::optional<QVariantMap> readPreferencesFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qCDebug(lcRuleManagement, "No preferences at %s: %s", qUtf8Printable(path),
                qUtf8Printable(file.errorString()));
        return std::nullopt;
    }
    const QByteArray bytes = file.readAll();
    if (bytes.isEmpty() || bytes.size() > std::numeric_limits<uint32_t>::max())
        return std::nullopt;
    plist_t root = nullptr;
    plist_from_memory(bytes.constData(), uint32_t(bytes.size()), &root);
    if (!root) {
        qCWarning(lcRuleManagement, "Preferences at %s are not a property list", qUtf8Printable(path));
        return std::nullopt;
    }
    std::optional<QVariantMap> settings;
    if (plist_get_node_type(root) == PLIST_DICT)
        settings = dictionaryToMap(root);
    else
        qCWarning(lcRuleManagement, "Preferences at %s are not a dictionary", qUtf8Printable(path));
    plist_free(root);
    return settings;
}
