#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

// The text of a rule file as UTF-8 bytes: refused when it is a symbolic link,
// empty, unreadable or not UTF-8; read up to its first NUL byte, without a
// leading byte order mark. On failure `errorMessage` holds the text for the user.
std::optional<QByteArray> loadRuleFileBytes(const QString &path, QString *errorMessage);
