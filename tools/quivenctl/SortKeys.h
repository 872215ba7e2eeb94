#pragma once

#include "RuleSortDescriptor.h"

#include <QList>
#include <optional>

namespace quivenctl {

// Parses "KEY[:desc|:asc][,KEY...]" into sort descriptors; text keys compare
// case-insensitively. Returns none and sets `error` on an unknown key or direction.
std::optional<QList<RuleSortDescriptor>> parseSortKeys(const QString &keys, QString *error);

} // namespace quivenctl
