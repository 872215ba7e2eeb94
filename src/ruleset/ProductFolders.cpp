#include "ProductFolders.h"

#include <QStringList>

namespace {

// Read on every call: tests and the demo point the folders elsewhere at run time.
QString folderFromEnvironment(const char *variable, const QString &fallback)
{
    QString folder = qEnvironmentVariable(variable);
    if (folder.isEmpty())
        return fallback;
    if (!folder.endsWith(u'/'))
        folder += u'/';
    return folder;
}

} // namespace

QString ProductFolders::systemRulesDirectory()
{
    return folderFromEnvironment("QUIVEN_SYSTEM_RULES_DIR", QStringLiteral("/etc/quiven/"));
}

QString ProductFolders::sharedDirectory()
{
    return folderFromEnvironment("QUIVEN_SHARED_DIR", QStringLiteral("/var/lib/quiven/"));
}

QString ProductFolders::systemRuleFile(const QString &fileName)
{
    return systemRulesDirectory() + fileName;
}

QString ProductFolders::failsafeFile()
{
    return sharedDirectory() + u"failsafe.rc";
}

QString ProductFolders::localUserFile()
{
    return QStringLiteral("%1local.quiven.rc").arg(sharedDirectory());
}

QString ProductFolders::preferencesFile()
{
    return sharedDirectory() + u"com.norvalis.QUIVEN.preferences.plist";
}

QStringList ProductFolders::baseRulesetFiles()
{
    const QString folder = systemRulesDirectory();
    return {folder + u"quiven.rc", folder + u"quiven_classic.rc", folder + u"paranoid.rc"};
}
