#include "CommandLine.h"
#include "CommandRegistry.h"
#include "ProductFolders.h"
#include "RuleManager.h"
#include "RulesetReport.h"

namespace quivenctl {
namespace {

const QString kUsage = QStringLiteral("load [--user-only]");

// The rule files the shared manager's start reads, in its order: the user's
// file, the main system ruleset, and each optional system file unless its
// option turns it off.
QList<std::pair<QString, bool>> filesRead(const RuleManager &manager)
{
    QList<std::pair<QString, bool>> files{
        {ProductFolders::localUserFile(), false},
        {ProductFolders::systemRuleFile(QStringLiteral("quiven.rc")), true}};
    const std::pair<const char *, const char *> optional[] = {{"user.rc", "policy.global.user"},
                                                              {"webcam.rc", "policy.global.webcam"},
                                                              {"startup.rc", "policy.global.startup"},
                                                              {"exec.rc", "policy.global.exec"}};
    for (const auto &[file, option] : optional) {
        if (manager.getOption(QLatin1String(option)) != 2)
            files.append({ProductFolders::systemRuleFile(QLatin1String(file)), true});
    }
    return files;
}

int load(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.addOption({QStringLiteral("user-only"), QStringLiteral("Rows without system rules.")});
    if (!parseArguments(parser, arguments, kUsage))
        return ExitUsage;
    if (!parser.positionalArguments().isEmpty())
        return usageError(
            QStringLiteral("load takes no files; set QUIVEN_SYSTEM_RULES_DIR and QUIVEN_SHARED_DIR"), kUsage);

    const RuleManager *manager = RuleManager::shared();

    // The shared start keeps only the last message, so each file's own result
    // comes from reading it once more on its own.
    QJsonArray files;
    bool allRead = true;
    for (const auto &[path, system] : filesRead(*manager)) {
        RuleManager probe;
        const bool ok = probe.addFileContents(path, system);
        files.append(fileEntry(path, ok, probe.lastErrorMessage()));
        allRead = allRead && ok;
    }

    printJson(QJsonDocument(rulesetReport(*manager, files, parser.isSet(QStringLiteral("user-only")))));
    return allRead ? ExitSuccess : ExitFailure;
}

const CommandRegistration registration(QStringLiteral("load"), kUsage, load);

} // namespace
} // namespace quivenctl
