#include "CommandLine.h"
#include "CommandRegistry.h"
#include "RuleManager.h"

#include <QFile>
#include <QJsonArray>

namespace quivenctl {
namespace {

const QString kUsage = QStringLiteral("tokenize < LINES");

// One JSON array per input line, so a line's tokens can be matched to it.
int tokenize(const QStringList &arguments)
{
    if (!arguments.isEmpty())
        return usageError(QStringLiteral("tokenize reads standard input and takes no arguments"), kUsage);

    QFile input;
    if (!input.open(stdin, QIODevice::ReadOnly))
        return usageError(QStringLiteral("cannot read standard input"), kUsage);
    const QString text = QString::fromUtf8(input.readAll());

    QStringList lines = text.split(QLatin1Char('\n'));
    if (lines.last().isEmpty())
        lines.removeLast();
    QByteArray output;
    for (const QString &line : lines) {
        output += QJsonDocument(QJsonArray::fromStringList(RuleManager::scanString(line)))
                      .toJson(QJsonDocument::Compact);
        output += '\n';
    }
    printBytes(output);
    return ExitSuccess;
}

const CommandRegistration registration(QStringLiteral("tokenize"), kUsage, tokenize);

} // namespace
} // namespace quivenctl
