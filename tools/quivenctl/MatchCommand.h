#pragma once

#include <QString>
#include <QStringList>

// `rules match`: which rules of the ruleset, read from files or from the
// daemons, apply to one file access.
namespace quivenctl {

QString matchUsage();

// 0 when a valid rule matches, 1 when none does or the ruleset could not be
// read, 2 on a usage error.
int matchCommand(const QStringList &arguments);

} // namespace quivenctl
