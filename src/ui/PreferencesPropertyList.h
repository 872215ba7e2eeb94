#pragma once

#include <QString>
#include <QVariantMap>

// Writes the preferences dictionary as an XML property list, in place (not
// atomically, as the filter reads the file by its name). False when the file
// cannot be written.
bool writePreferencesPropertyList(const QString &path, const QVariantMap &settings);
