#include "CommandLine.h"
#include "CommandRegistry.h"
#include "RuleManager.h"
#include "RulesetReport.h"
#include "SortKeys.h"

namespace quivenctl {
namespace {

const QString kParseUsage = QStringLiteral("parse [--system] [--validating] [--filter TEXT] [--user-only] "
                                           "[--sort KEY[:desc][,KEY[:desc]...]] FILE...");
const QString kWriteUsage = QStringLiteral("write --out OUT [--system] [--validating] FILE...");

void addReadOptions(QCommandLineParser &parser)
{
    parser.addOption({QStringLiteral("system"), QStringLiteral("Label the rules as system rules.")});
    parser.addOption({QStringLiteral("validating"), QStringLiteral("Take set lines from every file.")});
}

ReadSettings readSettings(const QCommandLineParser &parser)
{
    return {parser.isSet(QStringLiteral("system")), parser.isSet(QStringLiteral("validating"))};
}

int parse(const QStringList &arguments)
{
    QCommandLineParser parser;
    addReadOptions(parser);
    parser.addOption({QStringLiteral("filter"), QStringLiteral("Search text."), QStringLiteral("TEXT")});
    parser.addOption({QStringLiteral("user-only"), QStringLiteral("Rows without system rules.")});
    parser.addOption({QStringLiteral("sort"), QStringLiteral("Sort keys."), QStringLiteral("KEYS")});
    if (!parseArguments(parser, arguments, kParseUsage))
        return ExitUsage;
    const QStringList paths = parser.positionalArguments();
    if (paths.isEmpty())
        return usageError(QStringLiteral("no rule file given"), kParseUsage);

    std::optional<QList<RuleSortDescriptor>> descriptors;
    if (parser.isSet(QStringLiteral("sort"))) {
        QString error;
        descriptors = parseSortKeys(parser.value(QStringLiteral("sort")), &error);
        if (!descriptors)
            return usageError(error, kParseUsage);
    }

    RuleManager manager;
    bool allRead = false;
    const QJsonArray files = readRuleFiles(manager, paths, readSettings(parser), &allRead);
    if (parser.isSet(QStringLiteral("filter")))
        manager.applyFilterWithString(parser.value(QStringLiteral("filter")));
    if (descriptors)
        manager.sortIndexUsingDescriptors(*descriptors);

    printJson(QJsonDocument(rulesetReport(manager, files, parser.isSet(QStringLiteral("user-only")))));
    return allRead ? ExitSuccess : ExitFailure;
}

QJsonObject writeResult(bool ok, const QString &error)
{
    return {{QStringLiteral("ok"), ok},
            {QStringLiteral("error"), error.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(error)}};
}

int write(const QStringList &arguments)
{
    QCommandLineParser parser;
    addReadOptions(parser);
    parser.addOption({QStringLiteral("out"), QStringLiteral("File to write."), QStringLiteral("OUT")});
    if (!parseArguments(parser, arguments, kWriteUsage))
        return ExitUsage;
    const QString out = parser.value(QStringLiteral("out"));
    if (out.isEmpty())
        return usageError(QStringLiteral("--out is required"), kWriteUsage);
    const QStringList paths = parser.positionalArguments();
    if (paths.isEmpty())
        return usageError(QStringLiteral("no rule file given"), kWriteUsage);

    RuleManager manager;
    bool allRead = false;
    const QJsonArray files = readRuleFiles(manager, paths, readSettings(parser), &allRead);
    if (!allRead) {
        // Writing now would save a ruleset missing the unreadable file's rules.
        for (const QJsonValue &file : files) {
            if (!file[QStringLiteral("ok")].toBool()) {
                printJson(QJsonDocument(writeResult(false, file[QStringLiteral("error")].toString())));
                break;
            }
        }
        return ExitFailure;
    }

    // A short write still returns true; the message is what tells.
    const bool written = manager.writeToFile(out) && manager.lastErrorMessage().isEmpty();
    printJson(QJsonDocument(writeResult(written, manager.lastErrorMessage())));
    return written ? ExitSuccess : ExitFailure;
}

const CommandRegistration parseRegistration(QStringLiteral("parse"), kParseUsage, parse);
const CommandRegistration writeRegistration(QStringLiteral("write"), kWriteUsage, write);

} // namespace
} // namespace quivenctl
