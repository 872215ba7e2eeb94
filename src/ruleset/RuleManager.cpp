#include "RuleManager.h"

#include "PolicyFilterRows.h"
#include "PreferencesFile.h"
#include "ProductFolders.h"
#include "RedundancyIndex.h"
#include "RuleLogging.h"

RuleManager::RuleManager()
{
    // Sort order, filter text and sequence counter start out empty by their declarations.
    reset();
}

RuleManager::~RuleManager() = default;

RuleManager *RuleManager::shared()
{
    // Function-local static: created exactly once, even when first asked for from several threads.
    static RuleManager *const instance = [] {
        auto *manager = new RuleManager;
        manager->initWithCurrentUserConfigurationAndLoadDefaultRC(true);
        return manager;
    }();
    return instance;
}

std::unique_ptr<RuleManager> RuleManager::withContentsOfFile(const QString &path,
                                                             bool shouldLabelAsSystemRules)
{
    auto manager = std::make_unique<RuleManager>();
    manager->initWithContentsOfFile(path, shouldLabelAsSystemRules);
    return manager;
}

std::unique_ptr<RuleManager> RuleManager::withCurrentUserConfigurationAndLoadDefaultRC(bool loadSystemRules)
{
    auto manager = std::make_unique<RuleManager>();
    manager->initWithCurrentUserConfigurationAndLoadDefaultRC(loadSystemRules);
    return manager;
}

void RuleManager::initWithContentsOfFile(const QString &path, bool shouldLabelAsSystemRules)
{
    QMutexLocker locker(&m_lock);
    reset();
    m_searchString = QString();
    // A failed read leaves an empty ruleset with lastErrorMessage set; loading goes on regardless.
    addFileContents(path, shouldLabelAsSystemRules);
    loadOptions();
    rebuildRulesCache();
}

void RuleManager::initWithCurrentUserConfigurationAndLoadDefaultRC(bool loadSystemRules)
{
    QMutexLocker locker(&m_lock);
    m_sortDescriptors.reset();
    initWithContentsOfFile(ProductFolders::localUserFile(), false);
    loadOptions();
    if (loadSystemRules)
        loadSystemRuleSet();
}

void RuleManager::reset()
{
    qCDebug(lcRuleManagement, "%s", Q_FUNC_INFO);
    QMutexLocker locker(&m_lock);
    {
        QMutexLocker groups(&m_groupMapLock);
        m_policyRulesByApplication = {};
    }
    m_filterRows.reset();
    m_viewsMatchRebuild = false;
    {
        QMutexLocker watches(&m_watchListLock);
        m_watchRules = {};
    }
    m_traceRules = {};
    {
        QMutexLocker options(&m_optionListLock);
        m_filterOptions = {};
    }
    m_teamIDsWhitelist = {};
    invalidateRedundancyIndex();
}

void RuleManager::loadSystemRuleSet()
{
    QMutexLocker locker(&m_lock);
    m_settings = readPreferencesFile(ProductFolders::preferencesFile());
    addSystemRuleFiles(0);
    rebuildRulesCache();
}

bool RuleManager::addSystemRuleFiles(qint64 rulesetInUse)
{
    static const std::pair<const char *, const char *> optionalFiles[] = {
        {"policy.global.user", "user.rc"},
        {"policy.global.webcam", "webcam.rc"},
        {"policy.global.startup", "startup.rc"},
        {"policy.global.exec", "exec.rc"},
    };
    QMutexLocker locker(&m_lock);
    bool allRead = true;
    const QStringList baseFiles = ProductFolders::baseRulesetFiles();
    if (rulesetInUse >= 0 && rulesetInUse < baseFiles.size())
        allRead = addFileContents(baseFiles.at(rulesetInUse), true);
    for (const auto &[option, fileName] : optionalFiles) {
        if (getOption(QString::fromLatin1(option)) != 2)
            allRead = addFileContents(ProductFolders::systemRuleFile(QString::fromLatin1(fileName)), true) &&
                      allRead;
    }
    return allRead;
}

QString RuleManager::description() const
{
    return QStringLiteral("<RuleManager: 0x%1>").arg(quintptr(this), 0, 16);
}
