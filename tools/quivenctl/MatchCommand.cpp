#include "MatchCommand.h"

#include "AccessOptions.h"
#include "CommandLine.h"
#include "MatchReport.h"
#include "RulesSession.h"
#include "RulesetReport.h"

#include <QJsonArray>
#include <cstdio>

namespace quivenctl {

// A function, not a constant: the rules command builds its usage during static initialisation.
QString matchUsage()
{
    return QStringLiteral("rules match --process P [--parent Q | --ancestor A ...] --path F "
                          "--operation r|w|c|m|x [--json] [[--system] FILE...]");
}

namespace {

const QString kJson = QStringLiteral("json");
const QString kSystem = QStringLiteral("system");

int failure(const QString &message)
{
    std::fprintf(stderr, "quivenctl: %s\n", qPrintable(message));
    return ExitFailure;
}

int answer(const RuleManager &manager, const FileAccess &access, bool json)
{
    const AccessMatches matches = matchAccess(manager, access);
    if (json)
        printJson(QJsonDocument(matchReport(access, matches)));
    else
        printBytes(matchText(matches));
    return matches.matches.isEmpty() ? ExitFailure : ExitSuccess;
}

} // namespace

int matchCommand(const QStringList &arguments)
{
    QCommandLineParser parser;
    addAccessOptions(parser);
    parser.addOptions({{kJson, QStringLiteral("Print one JSON document.")},
                       {kSystem, QStringLiteral("Label the files' rules as system rules.")}});
    if (!parseArguments(parser, arguments, matchUsage()))
        return ExitUsage;
    QString error;
    const std::optional<FileAccess> access = accessFromOptions(parser, &error);
    if (!access)
        return usageError(error, matchUsage());
    const QStringList files = parser.positionalArguments();
    const bool json = parser.isSet(kJson);

    if (!files.isEmpty()) {
        RuleManager manager;
        bool allRead = false;
        const QJsonArray read = readRuleFiles(manager, files, {parser.isSet(kSystem), false}, &allRead);
        // An answer from part of the ruleset would hide the rules that matter.
        for (const QJsonValue &file : read) {
            if (!file[QStringLiteral("ok")].toBool())
                return failure(file[QStringLiteral("error")].toString());
        }
        return answer(manager, *access, json);
    }
    if (parser.isSet(kSystem))
        return usageError(
            QStringLiteral("--system labels the rules of files; the daemons say which are whose"),
            matchUsage());
    RulesSession session;
    if (!session.load(&error))
        return failure(error);
    return answer(session.manager(), *access, json);
}

} // namespace quivenctl
