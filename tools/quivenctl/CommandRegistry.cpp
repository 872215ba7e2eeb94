#include "CommandRegistry.h"

#include <QMap>

namespace quivenctl {

namespace {

struct Entry
{
    QString usage;
    CommandHandler handler;
};

QMap<QString, Entry> &registry()
{
    static QMap<QString, Entry> commands;
    return commands;
}

} // namespace

CommandRegistration::CommandRegistration(const QString &word, const QString &usage, CommandHandler handler)
{
    registry().insert(word, Entry{usage, std::move(handler)});
}

const CommandHandler *findCommand(const QString &word)
{
    auto it = registry().constFind(word);
    return it == registry().constEnd() ? nullptr : &it->handler;
}

QStringList commandUsages()
{
    QStringList usages;
    for (const Entry &entry : registry())
        usages << entry.usage;
    return usages;
}

QList<CommandSummary> commandSummaries()
{
    QList<CommandSummary> summaries;
    for (auto it = registry().constBegin(); it != registry().constEnd(); ++it)
        summaries << CommandSummary{it.key(), it->usage};
    return summaries;
}

} // namespace quivenctl
