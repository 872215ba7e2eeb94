#include "CommandLine.h"
#include "CommandRegistry.h"
#include "MatchCommand.h"
#include "RuleFields.h"
#include "RuleJson.h"
#include "RulesSession.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <cstdio>
#include <unistd.h>

namespace quivenctl {
namespace {

const QString kUsage =
    QStringLiteral(
        "rules list [--user-only] [--filter TEXT] | rules add|delete --class allow|deny|watch "
        "--type prefix|path|suffix --path P --process P [--parent P] [--operations LETTERS] [--tag T] "
        "[--constraint C] [--no-prompt] | rules export --out FILE [--select N,...] | rules import FILE "
        "[--no-prompt] | ") +
    matchUsage();

int failure(const QString &message)
{
    std::fprintf(stderr, "quivenctl: %s\n", qPrintable(message));
    return ExitFailure;
}

const QCommandLineOption kNoPrompt(QStringLiteral("no-prompt"),
                                   QStringLiteral("Fail instead of asking for an authorization."));

// The authorization prompt needs someone at a terminal to answer it.
bool interactive(const QCommandLineParser &parser)
{
    return !parser.isSet(kNoPrompt) && ::isatty(STDIN_FILENO);
}

// The user's stored rule equal to `rule`, or null.
RuleBasePtr findUserRule(const NVCRuleManager &manager, const NVCRuleBase &rule)
{
    for (const RuleBasePtr &stored : manager.compositeIndexUserOnly())
        if (stored->isEqualTo(rule))
            return stored;
    return nullptr;
}

bool holdsSystemRule(const NVCRuleManager &manager, const NVCRuleBase &rule)
{
    for (const RuleBasePtr &stored : manager.compositeIndex())
        if (stored->system && stored->isEqualTo(rule))
            return true;
    return false;
}

void storeRule(NVCRuleManager &manager, const RuleBasePtr &rule, bool rebuild)
{
    if (auto watch = std::dynamic_pointer_cast<WatchRule>(rule))
        manager.addWatchRule(watch, rebuild);
    else if (auto policy = std::dynamic_pointer_cast<PolicyRule>(rule))
        manager.addPolicyRule(policy, rebuild);
}

int list(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.addOptions(
        {{QStringLiteral("user-only"), QStringLiteral("Only the user's rules.")},
         {QStringLiteral("filter"), QStringLiteral("Rows matching the text."), QStringLiteral("text")}});
    if (!parseArguments(parser, arguments, kUsage))
        return ExitUsage;
    RulesSession session;
    QString error;
    if (!session.load(&error))
        return failure(error);
    NVCRuleManager &manager = session.manager();
    manager.applyFilterWithString(parser.value(QStringLiteral("filter")));
    const bool userOnly = parser.isSet(QStringLiteral("user-only"));
    QJsonArray rules;
    const RuleRows rows = userOnly ? manager.compositeIndexUserOnly() : manager.compositeIndex();
    for (qsizetype index = 0; index < rows.size(); ++index) {
        QJsonObject row = ruleToJson(rows.at(index), manager);
        row.insert(QStringLiteral("index"), index);
        rules.append(row);
    }
    printJson(QJsonDocument(
        QJsonObject{{QStringLiteral("total"), rules.size()}, {QStringLiteral("rules"), rules}}));
    return ExitSuccess;
}

int change(const QStringList &arguments, bool adding)
{
    QCommandLineParser parser;
    addRuleFieldOptions(parser);
    parser.addOption(kNoPrompt);
    if (!parseArguments(parser, arguments, kUsage))
        return ExitUsage;
    const QString missing = missingRuleField(parser);
    if (!missing.isNull())
        return usageError(QStringLiteral("--%1 is required").arg(missing), kUsage);
    QString error;
    const RuleBasePtr rule = ruleFromFieldOptions(parser, &error);
    if (!rule)
        return failure(error);

    RulesSession session;
    if (!session.load(&error))
        return failure(error);
    NVCRuleManager &manager = session.manager();
    const RuleBasePtr existing = findUserRule(manager, *rule);
    if (adding) {
        if (existing)
            return failure(QStringLiteral("the rule already exists: %1").arg(existing->toString().trimmed()));
        storeRule(manager, rule, true);
    } else if (!existing) {
        return failure(
            holdsSystemRule(manager, *rule)
                ? QStringLiteral("system rules cannot be deleted: %1").arg(rule->toString().trimmed())
                : QStringLiteral("no user rule matches: %1").arg(rule->toString().trimmed()));
    } else if (auto watch = std::dynamic_pointer_cast<WatchRule>(existing)) {
        manager.deleteWatchRule(watch);
    } else {
        manager.deletePolicyRule(std::dynamic_pointer_cast<PolicyRule>(existing));
    }
    if (!session.save(interactive(parser), &error))
        return failure(error);
    const RuleBasePtr &shown = adding ? rule : existing;
    printJson(QJsonDocument(
        QJsonObject{{adding ? QStringLiteral("added") : QStringLiteral("deleted"), ruleToJson(*shown)}}));
    return ExitSuccess;
}

int exportRules(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.addOptions(
        {{QStringLiteral("out"), QStringLiteral("The file to write."), QStringLiteral("file")},
         {QStringLiteral("select"), QStringLiteral("Indexes of the user's rules (rules list --user-only)."),
          QStringLiteral("indexes")}});
    if (!parseArguments(parser, arguments, kUsage))
        return ExitUsage;
    const QString out = parser.value(QStringLiteral("out"));
    if (out.isEmpty())
        return usageError(QStringLiteral("--out is required"), kUsage);

    RulesSession session;
    QString error;
    if (!session.load(&error))
        return failure(error);
    NVCRuleManager &manager = session.manager();
    const RuleRows userRules = manager.compositeIndexUserOnly();
    std::optional<QList<RuleBasePtr>> selection;
    if (parser.isSet(QStringLiteral("select"))) {
        selection.emplace();
        for (const QString &word : parser.value(QStringLiteral("select")).split(u',')) {
            bool number = false;
            const qlonglong index = word.trimmed().toLongLong(&number);
            if (!number || index < 0 || index >= userRules.size())
                return usageError(QStringLiteral("--select: '%1' is not an index of the %2 user rules")
                                      .arg(word)
                                      .arg(userRules.size()),
                                  kUsage);
            selection->append(userRules.at(index));
        }
    }
    const QString path = QFileInfo(out).absoluteFilePath();
    const bool written = selection ? manager.writeToFile(path, *selection) : manager.writeToFile(path);
    if (!written)
        return failure(manager.lastErrorMessage());
    printJson(QJsonDocument(
        QJsonObject{{QStringLiteral("file"), path},
                    {QStringLiteral("exported"), selection ? selection->size() : userRules.size()}}));
    return ExitSuccess;
}

int importRules(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.addOption(kNoPrompt);
    if (!parseArguments(parser, arguments, kUsage))
        return ExitUsage;
    if (parser.positionalArguments().size() != 1)
        return usageError(QStringLiteral("import takes one rule file"), kUsage);
    const QString path = parser.positionalArguments().constFirst();
    RuleManager source;
    if (!source.addFileContents(path, false))
        return failure(source.lastErrorMessage());
    source.rebuildRulesCache();

    RulesSession session;
    QString error;
    if (!session.load(&error))
        return failure(error);
    NVCRuleManager &manager = session.manager();
    const RuleRows candidates = source.compositeIndex();
    qsizetype imported = 0;
    for (const RuleBasePtr &rule : candidates) {
        // Invalid rules and rules the user already has are left out.
        if (!manager.validateRule(*rule) || findUserRule(manager, *rule))
            continue;
        storeRule(manager, rule, true);
        ++imported;
    }
    if (imported > 0 && !session.save(interactive(parser), &error))
        return failure(error);
    printJson(QJsonDocument(
        QJsonObject{{QStringLiteral("imported"), imported}, {QStringLiteral("total"), candidates.size()}}));
    return ExitSuccess;
}

int rules(const QStringList &arguments)
{
    const QString verb = arguments.value(0);
    const QStringList rest = arguments.mid(1);
    if (verb == QLatin1String("list"))
        return list(rest);
    if (verb == QLatin1String("add"))
        return change(rest, true);
    if (verb == QLatin1String("delete"))
        return change(rest, false);
    if (verb == QLatin1String("export"))
        return exportRules(rest);
    if (verb == QLatin1String("import"))
        return importRules(rest);
    if (verb == QLatin1String("match"))
        return matchCommand(rest);
    return usageError(verb.isEmpty() ? QStringLiteral("rules needs a command")
                                     : QStringLiteral("unknown rules command '%1'").arg(verb),
                      kUsage);
}

const CommandRegistration registration(QStringLiteral("rules"), kUsage, rules);

} // namespace
} // namespace quivenctl
