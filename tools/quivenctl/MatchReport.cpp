#include "MatchReport.h"

#include "RuleJson.h"
#include "RuleManager.h"

#include <QJsonArray>

namespace quivenctl {
namespace {

QString classWord(const RuleMatch &match)
{
    return match.isWatchRule ? QStringLiteral("watch")
                             : PolicyRule::policyClassDescription(match.rule->policyClass);
}

QJsonArray matchesToJson(const QList<RuleMatch> &matches)
{
    QJsonArray array;
    for (const RuleMatch &match : matches) {
        QJsonObject object = ruleToJson(*match.rule);
        object.insert(QStringLiteral("class"), classWord(match));
        object.insert(QStringLiteral("group"), nullableText(match.group));
        object.insert(QStringLiteral("row"), match.row ? QJsonValue(qint64(*match.row)) : QJsonValue());
        if (!match.isWatchRule)
            object.insert(QStringLiteral("redundant"), match.redundant);
        array.append(object);
    }
    return array;
}

QString line(const RuleMatch &match)
{
    QString text = match.rule->toString().trimmed();
    return QStringLiteral("%1  %2  %3  %4  %5  %6\n")
        .arg(match.row ? QString::number(*match.row) : QStringLiteral("-"), 6)
        .arg(match.isWatchRule ? QStringLiteral("watch") : QStringLiteral("policy"), -6)
        .arg(classWord(match), -5)
        .arg(match.rule->system ? QStringLiteral("system") : QStringLiteral("user"), -6)
        .arg(match.redundant ? QStringLiteral("yes") : QStringLiteral("no"), -9)
        .arg(text);
}

} // namespace

QJsonObject matchReport(const FileAccess &access, const AccessMatches &answer)
{
    const QJsonObject accessObject{
        {QStringLiteral("process"), access.program},
        {QStringLiteral("parent"), nullableText(access.parent)},
        {QStringLiteral("ancestors"), QJsonArray::fromStringList(access.ancestors)},
        {QStringLiteral("path"), access.path},
        {QStringLiteral("operation"), RuleManager::operationsForInteger(access.operation)},
    };
    return {{QStringLiteral("access"), accessObject},
            {QStringLiteral("matches"), matchesToJson(answer.matches)},
            {QStringLiteral("wouldMatchIfValid"), matchesToJson(answer.wouldMatchIfValid)}};
}

QByteArray matchText(const AccessMatches &answer)
{
    QString text;
    const QString header = QStringLiteral("   row  kind    class  from    redundant  rule\n");
    if (answer.matches.isEmpty()) {
        text += QStringLiteral("No rule matches.\n");
    } else {
        text += header;
        for (const RuleMatch &match : answer.matches)
            text += line(match);
    }
    if (!answer.wouldMatchIfValid.isEmpty()) {
        text += QStringLiteral("\nWould match if it were valid:\n") + header;
        for (const RuleMatch &match : answer.wouldMatchIfValid)
            text += line(match);
    }
    return text.toUtf8();
}

} // namespace quivenctl
