#include "PolicyFilterRows.h"
#include "ProductFolders.h"
#include "RuleFileSource.h"
#include "RuleLogging.h"
#include "RuleManager.h"
#include "RuleReadSupport.h"
#include "RuleText.h"
#include "RuleTokenizer.h"

#include <QCoreApplication>
#include <array>
#include <vector>

namespace {

// Length of the line separator starting at `at`, or 0: LF, VT, FF, CR, NEL,
// U+2028 and U+2029, as UTF-8.
int separatorLength(const char *at, const char *end)
{
    const auto c = uchar(at[0]);
    if (c >= 0x0a && c <= 0x0d)
        return 1;
    if (c == 0xc2 && end - at >= 2 && uchar(at[1]) == 0x85)
        return 2;
    if (c == 0xe2 && end - at >= 3 && uchar(at[1]) == 0x80 && (uchar(at[2]) == 0xa8 || uchar(at[2]) == 0xa9))
        return 3;
    return 0;
}

// Bytes that may begin a line separator: the scan stops only at these.
constexpr std::array<bool, 256> kSeparatorStarts = [] {
    std::array<bool, 256> starts{};
    for (int c = 0x0a; c <= 0x0d; ++c)
        starts[std::size_t(c)] = true;
    starts[0xc2] = true;
    starts[0xe2] = true;
    return starts;
}();

bool startsWithAny(const QString &path, const QStringList &prefixes)
{
    for (const QString &prefix : prefixes) {
        if (path.startsWith(prefix))
            return true;
    }
    return false;
}

// Per-read lookup state. Rules of one group share process name and constraint
// data (interned), so a group's key is computed once per distinct pair.
struct ReadState
{
    struct Group
    {
        QString key;
        bool indexed = false; // its members before this read are in `duplicates`
        // Rules of this read, appended to the store's list once at the end: one
        // lookup of the long key per group instead of one per rule.
        QList<PolicyRulePtr> added;
    };

    explicit ReadState(QByteArrayView file)
        : strings(file)
    {}

    Utf8TextPool strings;
    QHash<std::pair<const QChar *, const QChar *>, int> groupByText;
    QHash<QString, int> groupByKey;
    std::vector<Group> groups;
    DuplicateIndex duplicates;
    DuplicateIndex watchDuplicates;
    bool watchRulesIndexed = false;

    Group &groupFor(const PolicyRule &rule)
    {
        const std::pair textKey{rule.processName.constData(), rule.constraint.constData()};
        auto found = groupByText.constFind(textKey);
        if (found != groupByText.cend())
            return groups[std::size_t(found.value())];
        const QString key = RuleManager::applicationGroupIdentityForRule(rule);
        int slot = groupByKey.value(key, -1);
        if (slot < 0) {
            slot = int(groups.size());
            groups.push_back(Group{key, false, {}});
            groupByKey.insert(key, slot);
        }
        groupByText.insert(textKey, slot);
        return groups[std::size_t(slot)];
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
    if (rule.path.startsWith(u':'))
        return false;
    bool duplicate = false;
    for (const PolicyRulePtr &member : group) {
        if (!member->isEqualToRuleWithPrefix(rule))
            continue;
        duplicate = true;
        const QString directory = RuleText::directoryOfPath(member->path);
        if (directory == RuleText::directoryOfPath(rule.path) && directory != member->path &&
            member->path != rule.path) {
            member->path = directory;
            rule.path = directory;
        }
    }
    return duplicate;
}

// Moves the rules batched per group into the store, in reading order. Lists are
// trimmed: growth slack adds up over many rules.
void appendReadRules(QHash<QString, QList<PolicyRulePtr>> &store, ReadState &state)
{
    for (ReadState::Group &group : state.groups) {
        if (group.added.isEmpty())
            continue;
        QList<PolicyRulePtr> &members = store[group.key];
        if (members.isEmpty())
            members = std::move(group.added);
        else
            members.append(group.added);
        members.squeeze();
        group.added = {};
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
    const bool system = shouldLabelAsSystemRules;
    QMutexLocker groupLocker(&m_groupMapLock);
    QMutexLocker watchLocker(&m_watchListLock);
    ReadState state(*bytes);
    Utf8RuleTokens tokens;
    bool storeChanged = false;
    // Counted as an editor would, a CR LF pair being one line end.
    qsizetype lineNumber = 1;

    // Lines and tokens are cut from the UTF-8 bytes; only the fields a rule
    // keeps are decoded.
    const char *const begin = bytes->constData();
    const char *const end = begin + bytes->size();
    const char *lineStart = begin;
    while (lineStart) {
        const char *lineEnd = lineStart;
        int separator = 0;
        for (; lineEnd < end; ++lineEnd) {
            if (kSeparatorStarts[uchar(*lineEnd)] && (separator = separatorLength(lineEnd, end)) > 0)
                break;
        }
        const QByteArrayView line(lineStart, lineEnd - lineStart);
        const qsizetype currentLine = lineNumber;
        if (separator > 0 && !(*lineEnd == '\n' && lineEnd > begin && lineEnd[-1] == '\r'))
            ++lineNumber;
        lineStart = separator > 0 ? lineEnd + separator : nullptr;

        if (line.startsWith(';'))
            continue;
        tokenizeRuleLine(line, tokens);
        const qsizetype count = tokens.size();
        if (count == 0)
            continue;
        auto token = [&](qsizetype i) { return tokens[i].view(line); };
        auto tokenText = [&](qsizetype i) { return state.strings.decode(token(i)); };
        const QByteArrayView first = token(0);
        // Fields 1-5 mean the same on watch and policy lines; field 5 is a user
        // rule's tag but a system rule's flags.
        auto fillSharedFields = [&](NVCRuleBase &rule) {
            rule.policyType = RuleText::policyTypeForWord(token(1));
            rule.path = tokenText(2);
            rule.processName = state.strings.intern(token(3));
            rule.operations = RuleText::operationsForLetters(token(4));
            rule.system = system;
            rule.sequence = m_ruleSequence++;
            if (count > 5) {
                if (system)
                    rule.flags = RuleText::flagsForLetters(token(5));
                else
                    rule.tag = state.strings.intern(token(5));
            }
        };

        if (first == "watch" && count >= 5) {
            auto rule = std::make_shared<WatchRule>();
            fillSharedFields(*rule);
            qCDebug(lcRuleManagement, "watch policy type %u path %s proc %s operations %u (%s)",
                    rule->policyType, qUtf8Printable(rule->path), qUtf8Printable(rule->processName),
                    rule->operations, qUtf8Printable(RuleText::operationLetters(rule->operations)));
            if (!state.watchRulesIndexed) {
                for (const WatchRulePtr &existing : std::as_const(m_watchRules))
                    state.watchDuplicates.insert(*existing);
                state.watchRulesIndexed = true;
            }
            if (state.watchDuplicates.insert(*rule)) {
                m_watchRules.append(std::move(rule));
                storeChanged = true;
            }
            continue;
        }
        if (first == "set" && count >= 3) {
            if (takesOptions) {
                QStringList parts;
                for (qsizetype i = 0; i < count; ++i)
                    parts.append(tokenText(i));
                addOptionWithParts(parts);
            }
            continue;
        }
        if (first == "trace") {
            // A trace line without its path and process used to bring the whole reader down.
            // It fails the read, so such a file stays unloaded as before, but the process lives on.
            if (count < 3) {
                m_lastErrorMessage =
                    QCoreApplication::translate("RuleManager",
                                                "Incomplete trace rule in file '%1' at line %2: a trace rule "
                                                "needs a path and a process")
                        .arg(path)
                        .arg(currentLine);
                qCWarning(lcRuleManagement, "%s", qUtf8Printable(m_lastErrorMessage));
                appendReadRules(m_policyRulesByApplication, state);
                if (storeChanged)
                    invalidateRedundancyIndex();
                return false;
            }
            TraceRule rule{tokenText(2), tokenText(1)};
            qCDebug(lcRuleManagement, "Trace rule %s added", qUtf8Printable(rule.description()));
            m_traceRules.append(std::move(rule));
            continue;
        }
        if (count < 5) {
            qCWarning(lcRuleManagement, "Input of unexpected format %s. Skipping...",
                      qUtf8Printable(state.strings.decode(line)));
            continue;
        }

        auto rule = std::make_shared<PolicyRule>();
        rule->policyClass = RuleText::policyClassForWord(first);
        fillSharedFields(*rule);
        if (count > 6)
            rule->constraint = state.strings.intern(token(6));
        if ((rule->flags & RuleFlag::TeamID) && rule->path == u"/Users/")
            m_teamIDsWhitelist.insert(rule->constraint);
        if (count > 7)
            rule->created = RuleText::leadingInteger(token(7));

        ReadState::Group &group = state.groupFor(*rule);
        qCDebug(lcRuleManagement,
                "policy class %u type %u path %s process %s operations %u flags %u constraint %s to "
                "application directory for '%s'",
                rule->policyClass, rule->policyType, qUtf8Printable(rule->path),
                qUtf8Printable(rule->processName), rule->operations, rule->flags,
                qUtf8Printable(rule->constraint), qUtf8Printable(group.key));

        if (isFailsafe) {
            // Merging compares with the whole group, so these rules go straight into the store.
            storeChanged = true; // a merge may rewrite stored paths
            QList<PolicyRulePtr> &members = m_policyRulesByApplication[group.key];
            if (!mergeIntoFailsafeGroup(members, *rule))
                members.append(std::move(rule));
            continue;
        }
        if (!group.indexed) {
            const auto stored = m_policyRulesByApplication.constFind(group.key);
            if (stored != m_policyRulesByApplication.cend()) {
                for (const PolicyRulePtr &member : *stored)
                    state.duplicates.insert(*member);
            }
            group.indexed = true;
        }
        if (!state.duplicates.insert(*rule))
            continue;
        group.added.append(std::move(rule));
        storeChanged = true;
    }
    appendReadRules(m_policyRulesByApplication, state);
    if (storeChanged)
        invalidateRedundancyIndex();
    return true;
}
