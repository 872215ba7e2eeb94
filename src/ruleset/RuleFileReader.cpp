#include "ParsedRuleRuns.h"
#include "PolicyFilterRows.h"
#include "ProductFolders.h"
#include "RuleFileSource.h"
#include "RuleLogging.h"
#include "RuleManager.h"
#include "RuleReadSupport.h"
#include "RuleText.h"
#include "RuleTokenizer.h"

#include <QCoreApplication>
#include <vector>

namespace {

bool startsWithAny(const QString &path, const QStringList &prefixes)
{
    for (const QString &prefix : prefixes) {
        if (path.startsWith(prefix))
            return true;
    }
    return false;
}

// Per-read lookup state. Rules of one group share their process name and
// constraint, so a group's key is computed once per distinct pair.
struct ReadState
{
    // The groups met in this read, by number: their keys, and how many rules
    // each gains. Kept apart from anything a rule touches, so that taking a
    // rule reads no group's memory.
    std::vector<QString> keys;
    std::vector<qsizetype> addedCounts;

    GroupsByTexts groupByText;
    QHash<QString, int> groupByKey;
    DuplicateIndex duplicates;
    DuplicateIndex watchDuplicates;
    bool watchRulesIndexed = false;

    // The group number of a rule. A group's stored members are put in
    // `duplicates` when the read first meets it, if `storedMembers` is given.
    // `hash` is GroupsByTexts::hashOf the rule's texts.
    int groupFor(const PolicyRule &rule, size_t hash,
                 const QHash<QString, QList<PolicyRulePtr>> *storedMembers)
    {
        const SharedText processName = rule.sharedProcessName();
        const SharedText constraint = rule.sharedConstraint();
        if (const int found = groupByText.find(processName, constraint, hash); found >= 0)
            return found;
        const QString key = RuleManager::applicationGroupIdentityForRule(rule);
        int group = groupByKey.value(key, -1);
        if (group < 0) {
            group = int(keys.size());
            keys.push_back(key);
            addedCounts.push_back(0);
            groupByKey.insert(key, group);
            if (storedMembers) {
                if (const auto stored = storedMembers->constFind(key); stored != storedMembers->cend()) {
                    for (const PolicyRulePtr &member : *stored)
                        duplicates.insert(*member);
                }
            }
        }
        groupByText.insert(processName, constraint, hash, group);
        return group;
    }
};

// Failsafe rules on neighbouring paths merge into one rule on their folder. The
// plain scan is kept here because merging rewrites paths of stored rules.
bool mergeIntoFailsafeGroup(QList<PolicyRulePtr> &group, PolicyRule &rule)
{
    for (const PolicyRulePtr &member : group) {
        if (member->isEqualTo(rule))
            return true;
    }
    if (rule.pathView().startsWith(u':'))
        return false;
    bool duplicate = false;
    for (const PolicyRulePtr &member : group) {
        if (!member->isEqualToRuleWithPrefix(rule))
            continue;
        duplicate = true;
        const QString memberPath = member->path();
        const QString directory = RuleText::directoryOfPath(memberPath);
        if (directory == RuleText::directoryOfPath(rule.path()) && directory != memberPath &&
            memberPath != rule.pathView()) {
            member->setPath(directory);
            rule.setPath(directory);
        }
    }
    return duplicate;
}

// Moves the taken rules into the store, in reading order after the stored
// ones. Every group's list is made its final size once: growing lists rule by
// rule would touch a different group's memory at every rule.
void appendReadRules(QHash<QString, QList<PolicyRulePtr>> &store, const ReadState &state,
                     const std::vector<std::vector<ParsedRuleLine> *> &takenRuns)
{
    std::vector<PolicyRulePtr *> nextFree(state.keys.size());
    store.reserve(store.size() + qsizetype(state.keys.size()));
    for (std::size_t group = 0; group < state.keys.size(); ++group) {
        const qsizetype added = state.addedCounts[group];
        if (added == 0)
            continue;
        QList<PolicyRulePtr> &members = store[state.keys[group]];
        const qsizetype stored = members.size();
        members.reserve(stored + added);
        members.resize(stored + added);
        nextFree[group] = members.data() + stored;
    }
    for (std::vector<ParsedRuleLine> *lines : takenRuns) {
        for (ParsedRuleLine &line : *lines) {
            if (line.group >= 0)
                *nextFree[std::size_t(line.group)]++ =
                    std::static_pointer_cast<PolicyRule>(std::move(line.rule));
        }
    }
}

} // namespace

bool RuleManager::addFileContents(const QString &path, bool shouldLabelAsSystemRules)
{
    QMutexLocker locker(&m_lock);
    return unsynchronizedAddFileContents(path, shouldLabelAsSystemRules);
}

bool RuleManager::unsynchronizedAddFileContents(const QString &path, bool shouldLabelAsSystemRules)
{
    qCDebug(lcRuleManagement, "Adding contents of file at path %s", qUtf8Printable(path));
    m_lastErrorMessage = QString();
    m_filterRows.reset();
    m_viewsMatchRebuild = false;
    const bool isFailsafe = path == ProductFolders::failsafeFile();
    const std::optional<QByteArray> bytes = loadRuleFileBytes(path, &m_lastErrorMessage);
    if (!bytes)
        return false;

    const bool takesOptions = m_onlyValidating || startsWithAny(path, ProductFolders::baseRulesetFiles());
    const QByteArrayView file(*bytes);
    ParsedRuleRuns runs(file, shouldLabelAsSystemRules);

    QMutexLocker groupLocker(&m_groupMapLock);
    QMutexLocker watchLocker(&m_watchListLock);
    ReadState state;
    // The index is made large enough once, up to a size that a file of mere
    // comments may cost.
    constexpr qsizetype kMostReserved = qsizetype(1) << 20;
    state.duplicates.reserve(std::size_t(std::min(file.size() / kShortRuleLineBytes, kMostReserved)));
    Utf8TextPool texts;
    Utf8RuleTokens tokens;
    bool storeChanged = false;
    auto tokenize = [&](QByteArrayView line) {
        tokenizeRuleLine(line, tokens);
        return tokens.size();
    };
    auto tokenText = [&](QByteArrayView line, qsizetype i) { return texts.decode(tokens.view(line, i)); };

    // The lines in file order: false when the read fails there. Records are
    // moved out: every record of a read shares one reference count with the
    // parsing thread, and each copy would be an atomic step on it.
    auto take = [&](ParsedRuleLine &entry) {
        switch (entry.kind) {
        case ParsedRuleLine::Kind::Watch: {
            auto rule = std::static_pointer_cast<WatchRule>(std::move(entry.rule));
            rule->sequence = m_ruleSequence++;
            qCDebug(lcRuleManagement, "watch policy type %u path %s proc %s operations %u (%s)",
                    rule->policyType, qUtf8Printable(rule->path()), qUtf8Printable(rule->processName()),
                    rule->operations, qUtf8Printable(RuleText::operationLetters(rule->operations)));
            if (!state.watchRulesIndexed) {
                for (const WatchRulePtr &existing : std::as_const(m_watchRules))
                    state.watchDuplicates.insert(*existing);
                state.watchRulesIndexed = true;
            }
            if (state.watchDuplicates.insert(*rule, entry.duplicateHash)) {
                m_watchRules.append(std::move(rule));
                storeChanged = true;
            }
            return true;
        }
        case ParsedRuleLine::Kind::Option:
            if (takesOptions) {
                QStringList parts;
                for (qsizetype i = 0, count = tokenize(entry.line); i < count; ++i)
                    parts.append(tokenText(entry.line, i));
                addOptionWithParts(parts);
            }
            return true;
        case ParsedRuleLine::Kind::Trace: {
            // A trace line without its path and process used to bring the whole reader down.
            // It fails the read, so such a file stays unloaded as before, but the process lives on.
            if (tokenize(entry.line) < 3) {
                m_lastErrorMessage =
                    QCoreApplication::translate("RuleManager",
                                                "Incomplete trace rule in file '%1' at line %2: a trace rule "
                                                "needs a path and a process")
                        .arg(path)
                        .arg(lineNumberAt(file, entry.line.data()));
                qCWarning(lcRuleManagement, "%s", qUtf8Printable(m_lastErrorMessage));
                return false;
            }
            TraceRule rule{tokenText(entry.line, 2), tokenText(entry.line, 1)};
            qCDebug(lcRuleManagement, "Trace rule %s added", qUtf8Printable(rule.description()));
            m_traceRules.append(std::move(rule));
            return true;
        }
        case ParsedRuleLine::Kind::Malformed:
            qCWarning(lcRuleManagement, "Input of unexpected format %s. Skipping...",
                      qUtf8Printable(texts.decode(entry.line)));
            return true;
        case ParsedRuleLine::Kind::Policy:
            break;
        }

        // The rule stays in its line until every group's size is known.
        auto &rule = static_cast<PolicyRule &>(*entry.rule);
        rule.sequence = m_ruleSequence++;
        if ((rule.flags & RuleFlag::TeamID) && rule.pathView() == u"/Users/")
            m_teamIDsWhitelist.insert(rule.constraint());
        const int group =
            state.groupFor(rule, entry.groupHash, isFailsafe ? nullptr : &m_policyRulesByApplication);
        qCDebug(lcRuleManagement,
                "policy class %u type %u path %s process %s operations %u flags %u constraint %s to "
                "application directory for '%s'",
                rule.policyClass, rule.policyType, qUtf8Printable(rule.path()),
                qUtf8Printable(rule.processName()), rule.operations, rule.flags,
                qUtf8Printable(rule.constraint()), qUtf8Printable(state.keys[std::size_t(group)]));

        if (isFailsafe) {
            // Merging compares with the whole group, so these rules go straight into the store.
            storeChanged = true; // a merge may rewrite stored paths
            QList<PolicyRulePtr> &members = m_policyRulesByApplication[state.keys[std::size_t(group)]];
            if (!mergeIntoFailsafeGroup(members, rule))
                members.append(std::static_pointer_cast<PolicyRule>(std::move(entry.rule)));
            return true;
        }
        if (state.duplicates.insert(rule, entry.duplicateHash)) {
            entry.group = group;
            ++state.addedCounts[std::size_t(group)];
            storeChanged = true;
        }
        return true;
    };

    // The runs taken so far, all of them unless the read fails.
    std::vector<std::vector<ParsedRuleLine> *> takenRuns;
    const bool complete = [&] {
        // The duplicate and group slots a rule reads lie anywhere in large
        // tables: they are asked for a few lines ahead.
        constexpr std::size_t ahead = 8;
        for (std::size_t index = 0; index < runs.count(); ++index) {
            std::vector<ParsedRuleLine> &lines = runs.run(index);
            takenRuns.push_back(&lines);
            for (std::size_t i = 0; i < lines.size(); ++i) {
                if (i + ahead < lines.size()) {
                    state.duplicates.prefetch(lines[i + ahead].duplicateHash);
                    state.groupByText.prefetch(lines[i + ahead].groupHash);
                }
                if (!take(lines[i]))
                    return false;
            }
        }
        return true;
    }();
    appendReadRules(m_policyRulesByApplication, state, takenRuns);
    if (storeChanged)
        invalidateRedundancyIndex();
    return complete;
}
