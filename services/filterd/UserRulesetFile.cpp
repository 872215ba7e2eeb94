#include "UserRulesetFile.h"

#include "RuleManager.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

namespace quiven::filterd {

UserRuleset readUserRuleset(const QString &path)
{
    if (!QFileInfo::exists(path))
        return {};
    const auto manager = RuleManager::withContentsOfFile(path, false);
    return {manager->userWatchRules(), manager->userPolicies()};
}

bool writeUserRuleset(const QString &path, const UserRuleset &ruleset, QString *error)
{
    QString text;
    for (const auto &rule : ruleset.watchRules)
        text += rule->toString();
    for (const auto &rule : ruleset.policyRules)
        text += rule->toString();
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0 || !file.commit()) {
        *error = QStringLiteral("Failed to write '%1': %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

} // namespace quiven::filterd
