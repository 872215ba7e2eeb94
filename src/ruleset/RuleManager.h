#pragma once

#include "FilterOption.h"
#include "PolicyRule.h"
#include "RuleSortDescriptor.h"
#include "RuleViews.h"
#include "TraceRule.h"
#include "WatchRule.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QRecursiveMutex>
#include <QSet>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

class PolicyFilterRows;
class RedundancyIndex;

// The in-memory ruleset: reader, options, store with its views, validation,
// writer and naming. One process-wide instance (`shared`); others are made for
// single files or validation.
class RuleManager : public QObject
{
    Q_OBJECT
public:
    RuleManager();
    ~RuleManager() override;
    RuleManager(const RuleManager &) = delete;
    RuleManager &operator=(const RuleManager &) = delete;

    // ---- construction and loading (reader) ----
    static RuleManager *shared();
    static std::unique_ptr<RuleManager> withContentsOfFile(const QString &path,
                                                           bool shouldLabelAsSystemRules);
    static std::unique_ptr<RuleManager> withCurrentUserConfigurationAndLoadDefaultRC(bool loadSystemRules);

    void initWithContentsOfFile(const QString &path, bool shouldLabelAsSystemRules);
    void initWithCurrentUserConfigurationAndLoadDefaultRC(bool loadSystemRules);
    void reset();
    void loadSystemRuleSet();
    bool addFileContents(const QString &path, bool shouldLabelAsSystemRules);
    // The system rule files of a ruleset, in reading order: the base ruleset
    // that "quiven-system-ruleset-in-use" selects (none for an unknown index),
    // then each optional addition whose option does not read 2. Options are
    // looked up as each file is reached, so the base file's `set` lines count
    // and options read before (the preferences) win. False when a file failed.
    bool addSystemRuleFiles(qint64 rulesetInUse);
    bool unsynchronizedAddFileContents(const QString &path, bool shouldLabelAsSystemRules);
    static QStringList scanString(QStringView line);

    // ---- options ----
    void addOptionWithParts(const QStringList &parts);
    void loadOptions();
    void loadOptionAsBool(const QString &key);
    void loadOptionAsInteger(const QString &key);
    quint32 getOption(const QString &name) const;

    // ---- text conversions ----
    static quint32 policyClassForString(const QString &word);
    static quint32 policyTypeForString(const QString &word);
    static quint32 operationsForString(const QString &letters);
    static quint32 flagsForString(const QString &letters);
    static QString operationsForRule(const NVCRuleBase &rule);
    static QString operationsForInteger(quint32 operations);
    static QString flagsForInteger(quint32 flags);
    static QString flagsForPolicyRule(const PolicyRule &rule);
    static QString flagsForWatchRule(const WatchRule &rule);

    // ---- store and views ----
    QList<PolicyRulePtr> userPolicies() const;
    QList<WatchRulePtr> userWatchRules() const;
    void rebuildRulesCache();
    void applyFilterWithString(const QString &text);
    quint64 totalRules(bool includeSystemRules) const;
    RuleBasePtr ruleAtIndex(quint64 index, bool includeSystemRules) const;
    bool addPolicyRule(const PolicyRulePtr &rule, bool rebuildRulesCache = true);
    bool addWatchRule(const WatchRulePtr &rule, bool rebuildRulesCache = true);
    bool deletePolicyRule(const PolicyRulePtr &rule, bool rebuildRulesCache = true);
    bool deleteWatchRule(const WatchRulePtr &rule, bool rebuildRulesCache = true);
    void sortIndexUsingDescriptors(const QList<RuleSortDescriptor> &descriptors);
    // Must follow every change of a stored rule's fields in place: the next
    // change of the store rebuilds the views in full, and the next filter and
    // redundancy question read the fields afresh.
    void ruleChangedInPlace();

    // ---- validation and redundancy ----
    bool validateRule(const NVCRuleBase &rule) const;
    bool isRedundant(const PolicyRulePtr &rule) const;
    // Whether `a` holds every one of the low eight bits of `b`.
    static bool isBitwiseInclusive(quint32 a, quint32 b) { return ((b & 0xFF) & ~a) == 0; }

    // ---- writer ----
    bool writeToFile(const QString &path);
    bool writeToFile(const QString &path, const QList<RuleBasePtr> &policiesToWrite);
    void writeToCurrentUserConfiguration();
    void copyUserRulesetTo(const QUrl &destination, const std::optional<QList<RuleBasePtr>> &selection);
    static QString manicurePath(const QString &path, const QString &homePath,
                                const std::function<bool(const QString &)> &fileExists);
    static QString manicurePath(const QString &path, const QString &homePath);

    // ---- naming ----
    static QString applicationStringForRule(const NVCRuleBase &rule, qint64 type);
    static QString applicationNameForRule(const NVCRuleBase &rule);
    static QString applicationGroupIdentityForRule(const NVCRuleBase &rule);
    static QString applicationPathForRule(const NVCRuleBase &rule);
    static QString applicationParentPathForRule(const NVCRuleBase &rule);
    static QString applicationParentNameForRule(const NVCRuleBase &rule);
    static QString applicationBundlePathForPath(const QString &path);
    static QString applicationBundlePathForRule(const NVCRuleBase &rule);
    static QString pathForRule(const NVCRuleBase &rule);

    // ---- fields ----
    const QHash<QString, QList<PolicyRulePtr>> &policyRulesByApplication() const
    {
        return m_policyRulesByApplication;
    }
    const QList<WatchRulePtr> &watchRules() const { return m_watchRules; }
    const QList<TraceRule> &traceRules() const { return m_traceRules; }
    const QList<PolicyRulePtr> &policyRules() const { return m_views.policies(); }
    const QSet<QString> &teamIDsWhitelist() const { return m_teamIDsWhitelist; }
    const QList<FilterOption> &filterOptions() const { return m_filterOptions; }
    RuleRows compositeIndex() const { return m_views.rows(true); }
    RuleRows compositeIndexUserOnly() const { return m_views.rows(false); }
    const QStringList &sortedKeys() const { return m_sortedKeys; }
    const std::optional<QList<RuleSortDescriptor>> &sortDescriptors() const { return m_sortDescriptors; }
    const std::optional<QVariantMap> &settings() const { return m_settings; }
    void setSettings(const std::optional<QVariantMap> &settings) { m_settings = settings; }
    QString searchString() const { return m_searchString; }
    qint64 ruleSequence() const { return m_ruleSequence; }
    bool onlyValidating() const { return m_onlyValidating; }
    void setOnlyValidating(bool value) { m_onlyValidating = value; }
    QString lastErrorMessage() const { return m_lastErrorMessage; }
    void setLastErrorMessage(const QString &message) { m_lastErrorMessage = message; }

    // "<RuleManager: 0x...>", used in log lines; subclasses give their own class name.
    virtual QString description() const;

    // The manager's own recursive lock: every read, store change and write runs under it.
    QRecursiveMutex &lock() const { return m_lock; }

Q_SIGNALS:
    // The flat views (`ruleAtIndex`, `totalRules`) were rebuilt, filtered or
    // sorted. Emitted on the thread that changed them, with the lock held:
    // receivers on other threads get it queued and read the views afresh.
    void viewChanged();

protected:
    mutable QRecursiveMutex m_lock;
    mutable QRecursiveMutex m_groupMapLock;  // userPolicies, isRedundant
    mutable QRecursiveMutex m_watchListLock; // userWatchRules
    mutable QRecursiveMutex m_optionListLock;

    QHash<QString, QList<PolicyRulePtr>> m_policyRulesByApplication;
    QList<WatchRulePtr> m_watchRules;
    QList<TraceRule> m_traceRules;
    QSet<QString> m_teamIDsWhitelist;
    QList<FilterOption> m_filterOptions;
    // policyRules and the two composite indexes.
    RuleViews m_views;
    QStringList m_sortedKeys;
    std::optional<QList<RuleSortDescriptor>> m_sortDescriptors;
    std::optional<QVariantMap> m_settings;
    QString m_searchString;
    qint64 m_ruleSequence = 0;
    bool m_onlyValidating = false;
    QString m_lastErrorMessage;

    // Lazily built cover index for isRedundant; dropped on every store change.
    mutable std::unique_ptr<RedundancyIndex> m_redundancyIndex;
    void invalidateRedundancyIndex() const;

    // Built by the first filter after a load or a change of rules in place;
    // single adds and deletes are taken in.
    std::unique_ptr<PolicyFilterRows> m_filterRows;

private:
    void sortViews(const QList<RuleSortDescriptor> &descriptors);
    int compareBySortOrder(const NVCRuleBase &a, const NVCRuleBase &b) const;
    // One policy rule added or deleted, with the views showing what a full
    // rebuild would; they then change by that rule alone.
    void insertIntoViews(const PolicyRulePtr &rule, const QString &key);
    void removeFromViews(const PolicyRulePtr &rule);
    void addSortedKey(const QString &key);
    // A row entered the full view at `row`, in order; rows at `rows`
    // (ascending, before removal) left it. The known sort ranks follow.
    void sortRanksGainedRow(qsizetype row);
    void sortRanksLostRows(const std::vector<qsizetype> &rows);
    // One policy rule added to or deleted from the groups, taken into the filter rows.
    void filterRowsGained(const PolicyRulePtr &rule, const QString &key);
    void filterRowsLost(const PolicyRule &rule);

    // Whether the views are what rebuildRulesCache would make of the store.
    bool m_viewsMatchRebuild = false;

    // Ranks of a text sort key, one per row of the full view in its order,
    // so that sorting again compares numbers. They follow rows added or
    // deleted one at a time and are dropped on every other change.
    struct SortRanks
    {
        QString key;
        RuleSortDescriptor::Comparison comparison;
        std::vector<qint64> ranks;
    };
    std::vector<SortRanks> m_sortRanks;
};
