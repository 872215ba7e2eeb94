#include "RulesetReport.h"

#include "RuleJson.h"
#include "RuleManager.h"

#include <algorithm>

namespace quivenctl {

QJsonObject fileEntry(const QString &path, bool ok, const QString &error)
{
    return {{QStringLiteral("path"), path},
            {QStringLiteral("ok"), ok},
            {QStringLiteral("error"), error.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(error)}};
}

QJsonArray readRuleFiles(RuleManager &manager, const QStringList &paths, const ReadSettings &settings,
                         bool *allRead)
{
    QJsonArray files;
    *allRead = true;
    manager.setOnlyValidating(settings.validating);
    for (qsizetype i = 0; i < paths.size(); ++i) {
        bool ok = false;
        if (i == 0) {
            // The single-file start reports failure only through the message.
            manager.initWithContentsOfFile(paths[i], settings.system);
            ok = manager.lastErrorMessage().isEmpty();
        } else {
            ok = manager.addFileContents(paths[i], settings.system);
        }
        files.append(fileEntry(paths[i], ok, ok ? QString() : manager.lastErrorMessage()));
        *allRead = *allRead && ok;
    }
    manager.rebuildRulesCache();
    return files;
}

namespace {

template <typename List> QJsonArray rulesToJson(const List &rules, const RuleManager &manager)
{
    QJsonArray array;
    for (const auto &rule : rules)
        array.append(ruleToJson(RuleBasePtr(rule), manager));
    return array;
}

} // namespace

QJsonObject rulesetReport(const RuleManager &manager, const QJsonArray &files, bool userOnly)
{
    QJsonArray options;
    for (const FilterOption &option : manager.filterOptions())
        options.append(QJsonObject{{QStringLiteral("name"), option.name},
                                   {QStringLiteral("value"), qint64(option.value)}});

    QStringList teamIDs(manager.teamIDsWhitelist().cbegin(), manager.teamIDsWhitelist().cend());
    std::sort(teamIDs.begin(), teamIDs.end());

    QJsonArray traceRules;
    for (const TraceRule &trace : manager.traceRules())
        traceRules.append(QJsonObject{{QStringLiteral("processName"), nullableText(trace.processName)},
                                      {QStringLiteral("path"), nullableText(trace.path)}});

    return {
        {QStringLiteral("files"), files},
        {QStringLiteral("options"), options},
        {QStringLiteral("teamIDs"), QJsonArray::fromStringList(teamIDs)},
        {QStringLiteral("traceRules"), traceRules},
        {QStringLiteral("watchRules"), rulesToJson(manager.watchRules(), manager)},
        {QStringLiteral("policyRules"), rulesToJson(manager.policyRules(), manager)},
        {QStringLiteral("rows"),
         rulesToJson(userOnly ? manager.compositeIndexUserOnly() : manager.compositeIndex(), manager)},
    };
}

} // namespace quivenctl
