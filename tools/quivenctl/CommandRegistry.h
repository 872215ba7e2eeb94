#pragma once

#include <QString>
#include <QStringList>
#include <functional>

// Each command family (ruleset, daemon, settings, rules ...) lives in its own
// source file and registers its top-level word here at start-up, so main()
// knows none of them. A handler gets the arguments after its word and returns
// the process exit status: 0 success, 1 a file or daemon failure, 2 a usage error.
namespace quivenctl {

using CommandHandler = std::function<int(const QStringList &arguments)>;

struct CommandRegistration
{
    CommandRegistration(const QString &word, const QString &usage, CommandHandler handler);
};

struct CommandSummary
{
    QString word;
    QString usage;
};

const CommandHandler *findCommand(const QString &word);
QStringList commandUsages();
QList<CommandSummary> commandSummaries();

} // namespace quivenctl
