#pragma once

#include <QString>
#include <optional>

// The text of a rule file: refused when it is a symbolic link, empty, unreadable
// or not UTF-8; read up to its first NUL byte. On failure `errorMessage` holds
// the text for the user.
std::optional<QString> loadRuleFileText(const QString &path, QString *errorMessage);
