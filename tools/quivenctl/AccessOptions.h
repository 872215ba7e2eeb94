#pragma once

#include "FileAccess.h"

#include <QCommandLineParser>
#include <optional>

// The options with which `rules match` describes one file access.
namespace quivenctl {

void addAccessOptions(QCommandLineParser &parser);

// The access the options describe, "~" standing for the user's home folder;
// none with a message when one is missing or malformed.
std::optional<FileAccess> accessFromOptions(const QCommandLineParser &parser, QString *error);

} // namespace quivenctl
