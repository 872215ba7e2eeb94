#include "CommandLine.h"

#include <cstdio>

namespace quivenctl {

bool parseArguments(QCommandLineParser &parser, const QStringList &arguments, const QString &usage)
{
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    if (!parser.parse(QStringList{QStringLiteral("quivenctl")} + arguments)) {
        usageError(parser.errorText(), usage);
        return false;
    }
    return true;
}

int usageError(const QString &message, const QString &usage)
{
    std::fprintf(stderr, "quivenctl: %s\nusage: quivenctl %s\n", qPrintable(message), qPrintable(usage));
    return ExitUsage;
}

void printJson(const QJsonDocument &document)
{
    printBytes(document.toJson(QJsonDocument::Compact) + '\n');
}

void printBytes(const QByteArray &bytes)
{
    std::fwrite(bytes.constData(), 1, std::size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

} // namespace quivenctl
