#include "CommandRegistry.h"
#include "ToolHelp.h"
#include "logging/JournalMessageHandler.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <cstdio>

int main(int argc, char **argv)
{
    quiven::logging::installJournalMessageHandler();
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quivenctl"));
    QCoreApplication::setApplicationVersion(QStringLiteral(QUIVEN_VERSION));
    // The output is the JSON document: flow and state-change lines (the reader
    // alone logs one per rule) show only when asked for through QT_LOGGING_RULES,
    // which overrides this default. Warnings always reach stderr.
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false"));

    QStringList arguments = QCoreApplication::arguments().mid(1);
    const QString word = arguments.value(0);
    if (word == QLatin1String("--help") || word == QLatin1String("-h")) {
        std::fputs(qUtf8Printable(quivenctl::helpText()), stdout);
        return 0;
    }
    if (word == QLatin1String("--version")) {
        std::printf("quivenctl %s\n", qPrintable(QCoreApplication::applicationVersion()));
        return 0;
    }
    if (word == QLatin1String("--list-commands")) {
        for (const QString &line : quivenctl::commandList())
            std::printf("%s\n", qUtf8Printable(line));
        return 0;
    }
    const quivenctl::CommandHandler *handler = quivenctl::findCommand(word);
    if (!handler) {
        std::fprintf(stderr, "usage:\n");
        for (const QString &usage : quivenctl::commandUsages())
            std::fprintf(stderr, "  quivenctl %s\n", qPrintable(usage));
        std::fprintf(stderr, "  quivenctl --help | --version | --list-commands\n");
        return 2;
    }
    arguments.removeFirst();
    return (*handler)(arguments);
}
