#pragma once

#include <QString>
#include <QVariantMap>
#include <optional>

// The preferences property list (XML or binary) as a dictionary; none when the
// file is missing, unreadable or not a dictionary.
std::optional<QVariantMap> readPreferencesFile(const QString &path);
