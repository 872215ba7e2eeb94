#pragma once

#include <QString>

// The two folders every path-dependent behaviour is measured against. Platform
// defaults can be overridden by QUIVEN_SYSTEM_RULES_DIR and QUIVEN_SHARED_DIR
// (folder paths ending in "/"), which tests and the demo use.
class ProductFolders
{
public:
    static QString systemRulesDirectory(); // "/etc/quiven/" by default
    static QString sharedDirectory();      // "/var/lib/quiven/" by default

    static QString systemRuleFile(const QString &fileName); // e.g. "quiven.rc"
    static QString failsafeFile();                          // shared folder + "failsafe.rc"
    static QString localUserFile();                         // shared folder + "local.quiven.rc"
    static QString preferencesFile(); // shared folder + "com.norvalis.QUIVEN.preferences.plist"
    // The three base rulesets whose `set` lines are options, in their fixed order.
    static QStringList baseRulesetFiles();
};
