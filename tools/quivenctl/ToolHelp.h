#pragma once

#include <QString>
#include <QStringList>

// What the tool says about itself: the help page (the manual page is generated
// from it) and the command list the shell completion reads. Both come from the
// registered usages, so neither can list a command the tool does not have.
namespace quivenctl {

QString helpText();

// One line a command: its word, then the subcommand words and the options its
// usage names, separated by spaces.
QStringList commandList();

} // namespace quivenctl
