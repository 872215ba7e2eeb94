#include "ToolHelp.h"

#include "CommandRegistry.h"

#include <QRegularExpression>

namespace quivenctl {
namespace {

constexpr qsizetype kCommandColumnWidth = 12;

// A usage lists its forms separated by " | "; a form may repeat the command word.
QStringList usageForms(const CommandSummary &command)
{
    QStringList forms = command.usage.split(QStringLiteral(" | "));
    for (QString &form : forms) {
        if (form.startsWith(command.word + u' '))
            form.remove(0, command.word.size() + 1);
    }
    return forms;
}

// The words a form starts with, as in "add|delete --class ...".
QStringList subcommandWords(const QString &form)
{
    static const QRegularExpression words(QStringLiteral("^[a-z][a-z-]*(\\|[a-z][a-z-]*)*$"));
    const QString first = form.section(u' ', 0, 0);
    return words.match(first).hasMatch() ? first.split(u'|') : QStringList();
}

QStringList optionNames(const QString &usage)
{
    static const QRegularExpression option(QStringLiteral("--[a-z][a-z-]*"));
    QStringList names;
    for (const QRegularExpressionMatch &match : option.globalMatch(usage))
        names << match.captured();
    names.removeDuplicates();
    return names;
}

} // namespace

QString helpText()
{
    QString text = QStringLiteral(
        "Usage: quivenctl COMMAND [ARGUMENTS]\n"
        "Reads, checks and writes QUIVEN rule files, and asks the QUIVEN daemons on the system bus.\n"
        "Every command prints one JSON document on standard output.\n"
        "\n"
        "Commands:\n");
    for (const CommandSummary &command : commandSummaries()) {
        const QString forms = command.usage.mid(command.word.size()).trimmed();
        text += QStringLiteral("  ") + command.word.leftJustified(kCommandColumnWidth) + forms + u'\n';
    }
    text += QStringLiteral(
        "\n"
        "Options:\n"
        "  -h, --help       Show this help and exit.\n"
        "  --version        Show the version and exit.\n"
        "  --list-commands  Print each command with its subcommands and options, one command a line.\n"
        "\n"
        "Environment:\n"
        "  QUIVEN_SYSTEM_RULES_DIR  Folder of the system rule files instead of /etc/quiven/.\n"
        "  QUIVEN_SHARED_DIR        Folder of the user's rules and preferences instead of /var/lib/quiven/.\n"
        "  DBUS_SYSTEM_BUS_ADDRESS  Bus on which the daemons are reached instead of the system bus.\n"
        "\n"
        "Exit status:\n"
        "  0 on success, 1 when a file or a daemon failed, 2 on a usage error.\n");
    return text;
}

QStringList commandList()
{
    QStringList lines;
    for (const CommandSummary &command : commandSummaries()) {
        QStringList fields{command.word};
        for (const QString &form : usageForms(command))
            fields << subcommandWords(form);
        fields << optionNames(command.usage);
        fields.removeDuplicates();
        lines << fields.join(u' ');
    }
    return lines;
}

} // namespace quivenctl
