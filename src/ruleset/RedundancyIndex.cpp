#include "RedundancyIndex.h"

#include "RuleManager.h"
#include "RulePrefetch.h"
#include "TextRanks.h"

#include <algorithm>
#include <cstring>

namespace {

// Compared unit by unit here: the library's comparison is a call for every rule.
bool isWholeScopePath(QStringView path)
{
    return !path.isNull() &&
           (path.isEmpty() || (path.size() == 3 && path[0] == u'a' && path[1] == u'n' && path[2] == u'y'));
}

quint8 lowMask(quint32 operations)
{
    return static_cast<quint8>(operations & 0xFF);
}

// A rule without a path or constraint can never cover another one, so it is
// left out of the index entirely.
bool canCover(const PolicyRule &rule)
{
    return !rule.pathView().isNull() && !rule.sharedConstraint().isNull();
}

// Paths of a group mostly share a long beginning: four units are compared at once.
qsizetype commonPrefixLength(QStringView a, QStringView b)
{
    const char16_t *x = a.utf16();
    const char16_t *y = b.utf16();
    const qsizetype n = std::min(a.size(), b.size());
    qsizetype i = 0;
    for (; i + 4 <= n; i += 4) {
        quint64 left;
        quint64 right;
        std::memcpy(&left, x + i, sizeof left);
        std::memcpy(&right, y + i, sizeof right);
        if (left != right)
            break;
    }
    while (i < n && x[i] == y[i])
        ++i;
    return i;
}

// Equal code units; the texts of a group are mostly shared, so equal data is tried first.
bool sameUnits(QStringView a, QStringView b)
{
    return a.size() == b.size() &&
           (a.utf16() == b.utf16() || std::memcmp(a.utf16(), b.utf16(), std::size_t(a.size()) * 2) == 0);
}

// Code unit order: any total order serves, as long as a path's prefixes sort
// before it and paths sharing a prefix lie together.
bool unitLess(QStringView a, QStringView b)
{
    const qsizetype shared = commonPrefixLength(a, b);
    if (shared < a.size() && shared < b.size())
        return a.utf16()[shared] < b.utf16()[shared];
    return a.size() < b.size();
}

} // namespace

void RedundancyIndex::Bucket::add(quint8 mask)
{
    for (auto &entry : masks) {
        if (entry.first == mask) {
            ++entry.second;
            return;
        }
    }
    masks.append({mask, 1});
}

int RedundancyIndex::Bucket::coveringCount(quint8 mask) const
{
    int count = 0;
    for (const auto &entry : masks) {
        if ((entry.first & mask) == mask)
            count += entry.second;
    }
    return count;
}

namespace {

template <typename List>
auto findBucket(List &list, quint32 policyClass, SharedText constraint) -> decltype(list.data())
{
    for (auto &bucket : list) {
        if (bucket.policyClass == policyClass && bucket.constraint == constraint)
            return &bucket;
    }
    return nullptr;
}

template <typename List> auto &bucketFor(List &list, quint32 policyClass, SharedText constraint)
{
    if (auto *bucket = findBucket(list, policyClass, constraint))
        return *bucket;
    list.append({});
    list.back().policyClass = policyClass;
    list.back().constraint = constraint;
    return list.back();
}

} // namespace

RedundancyIndex::GroupIndex::GroupIndex(const QList<PolicyRulePtr> &group)
{
    // Prefix rules sorted by path, so that rules on one path lie together.
    std::vector<QStringView> prefixPaths;
    std::vector<const PolicyRule *> prefixRules;
    members.reserve(std::size_t(group.size()));
    constexpr qsizetype distance = 8;
    for (qsizetype i = 0; i < group.size(); ++i) {
        if (i + distance < group.size() && group[i + distance])
            prefetchRuleData(group[i + distance].get());
        const PolicyRulePtr &member = group[i];
        if (!member || !canCover(*member))
            continue;
        const PolicyRule &rule = *member;
        if (isWholeScopePath(rule.pathView())) {
            bucketFor(wholeScope, rule.policyClass, rule.sharedConstraint()).add(lowMask(rule.operations));
        } else if (rule.policyType == PolicyType::Prefix) {
            prefixPaths.emplace_back(rule.pathView());
            prefixRules.push_back(&rule);
        } else {
            continue;
        }
        members.push_back(&rule);
    }
    std::sort(members.begin(), members.end());
    for (const std::size_t at : codeUnitOrder(prefixPaths)) {
        const QStringView path = prefixPaths[at];
        const PolicyRule &rule = *prefixRules[at];
        if (prefix.empty() || !sameUnits(pathOf(prefix.back()), path)) {
            prefix.push_back({quint32(pathText.size()), quint32(path.size()), -1, {}});
            pathText.append(path.utf16(), std::size_t(path.size()));
        }
        bucketFor(prefix.back().buckets, rule.policyClass, rule.sharedConstraint())
            .add(lowMask(rule.operations));
    }

    // In sorted order every prefix of a path comes before it, and the stack
    // holds the prefix chain of the previous path.
    std::vector<int> chain;
    for (int i = 0; i < int(prefix.size()); ++i) {
        while (!chain.empty() && !pathOf(prefix[i]).startsWith(pathOf(prefix[chain.back()])))
            chain.pop_back();
        prefix[i].parent = chain.empty() ? -1 : chain.back();
        chain.push_back(i);
    }
}

int RedundancyIndex::GroupIndex::selfCount(const PolicyRule &rule) const
{
    const auto [first, last] = std::equal_range(members.begin(), members.end(), &rule);
    return int(last - first);
}

QStringView RedundancyIndex::GroupIndex::pathOf(const PrefixPath &entry) const
{
    return QStringView(pathText.data() + entry.start, qsizetype(entry.length));
}

int RedundancyIndex::GroupIndex::longestPrefixOf(QStringView path) const
{
    // Every indexed prefix of `path` sorts at or before it, and is a prefix of
    // the greatest indexed path not after it.
    const auto after =
        std::upper_bound(prefix.begin(), prefix.end(), path,
                         [this](QStringView p, const PrefixPath &e) { return unitLess(p, pathOf(e)); });
    if (after == prefix.begin())
        return -1;
    int candidate = int(after - prefix.begin()) - 1;
    const qsizetype shared = commonPrefixLength(pathOf(prefix[candidate]), path);
    while (candidate >= 0 && qsizetype(prefix[candidate].length) > shared)
        candidate = prefix[candidate].parent;
    return candidate;
}

bool RedundancyIndex::GroupIndex::isRedundant(const PolicyRule &rule) const
{
    if (rule.sharedConstraint().isNull())
        return false;
    const quint8 mask = lowMask(rule.operations);

    if (const Bucket *bucket = findBucket(wholeScope, rule.policyClass, rule.sharedConstraint())) {
        int count = bucket->coveringCount(mask);
        if (count > 0 && isWholeScopePath(rule.pathView()))
            count -= selfCount(rule);
        if (count > 0)
            return true;
    }

    if (rule.pathView().isNull() || prefix.empty())
        return false;
    for (int i = longestPrefixOf(rule.pathView()); i >= 0; i = prefix[i].parent) {
        const Bucket *bucket = findBucket(prefix[i].buckets, rule.policyClass, rule.sharedConstraint());
        if (!bucket)
            continue;
        int count = bucket->coveringCount(mask);
        if (count > 0 && rule.policyType == PolicyType::Prefix &&
            sameUnits(rule.pathView(), pathOf(prefix[i])))
            count -= selfCount(rule);
        if (count > 0)
            return true;
    }
    return false;
}

bool RedundancyIndex::scanCoverers(const std::vector<Coverer> &coverers, const PolicyRule &rule)
{
    const SharedText constraint = rule.sharedConstraint();
    const QStringView path = rule.pathView();
    for (const Coverer &coverer : coverers) {
        if (coverer.rule == &rule || coverer.policyClass != rule.policyClass ||
            !RuleManager::isBitwiseInclusive(coverer.mask, rule.operations) ||
            coverer.constraint != constraint)
            continue;
        if (coverer.wholeScope)
            return true;
        if (!path.isNull() && coverer.pathSize <= path.size() &&
            commonPrefixLength(path, QStringView(coverer.path, coverer.pathSize)) == coverer.pathSize)
            return true;
    }
    return false;
}

bool RedundancyIndex::isRedundant(const Store &store, const PolicyRule &rule)
{
    GroupOfTexts &found = groupOf(store, rule);
    if (!found.group)
        return false;
    // Scanning a few rules costs less than indexing them.
    constexpr qsizetype kLargestScannedGroup = 64;
    if (found.group->size() > kLargestScannedGroup) {
        if (!found.index)
            found.index = &m_groups.try_emplace(found.group, *found.group).first->second;
        return found.index->isRedundant(rule);
    }
    if (!found.coverers) {
        // The members lie anywhere in memory: all are asked for before the
        // first is read, so that their misses overlap.
        for (const PolicyRulePtr &member : *found.group) {
            if (member)
                prefetchRuleData(member.get());
        }
        std::vector<Coverer> &coverers = found.coverers.emplace();
        for (const PolicyRulePtr &member : *found.group) {
            if (!member || !canCover(*member))
                continue;
            const QStringView path = member->pathView();
            const bool wholeScope = isWholeScopePath(path);
            if (wholeScope || member->policyType == PolicyType::Prefix)
                coverers.push_back({member.get(), path.utf16(), quint32(path.size()), member->policyClass,
                                    member->sharedConstraint(), lowMask(member->operations), wholeScope});
        }
    }
    return scanCoverers(*found.coverers, rule);
}

bool RedundancyIndex::GroupOfTexts::holdsTextsOf(const PolicyRule &rule) const
{
    return processName == rule.sharedProcessName() && constraint == rule.sharedConstraint();
}

RedundancyIndex::GroupOfTexts &RedundancyIndex::addGroup(std::pair<SharedText, SharedText> texts,
                                                         const QList<PolicyRulePtr> *group)
{
    GroupOfTexts &added = m_groupsFound.emplace_back();
    added.processName = texts.first;
    added.constraint = texts.second;
    added.group = group;
    m_groupsByTexts.insert(texts, &added);
    return added;
}

void RedundancyIndex::listEveryGroup(const Store &store)
{
    m_groupsByTexts.reserve(m_groupsByTexts.size() + store.size());
    constexpr int distance = 8;
    auto ahead = store.cbegin();
    for (int i = 0; i < distance && ahead != store.cend(); ++i)
        ++ahead;
    for (auto group = store.cbegin(); group != store.cend(); ++group) {
        if (ahead != store.cend()) {
            if (!ahead->isEmpty() && ahead->constFirst())
                prefetchRuleData(ahead->constFirst().get());
            ++ahead;
        }
        const auto first =
            std::find_if(group->cbegin(), group->cend(), [](const auto &rule) { return rule; });
        if (first == group->cend())
            continue;
        const std::pair texts{(*first)->sharedProcessName(), (*first)->sharedConstraint()};
        if (!m_groupsByTexts.contains(texts))
            addGroup(texts, &group.value());
    }
}

RedundancyIndex::GroupOfTexts &RedundancyIndex::groupOf(const Store &store, const PolicyRule &rule)
{
    if (m_lastGroup && m_lastGroup->holdsTextsOf(rule))
        return *m_lastGroup;
    const std::pair texts{rule.sharedProcessName(), rule.sharedConstraint()};
    auto known = m_groupsByTexts.constFind(texts);
    // A screenful of rows meets a few groups, a scan of the whole table all of them.
    constexpr int kIdentitiesBeforeListing = 64;
    if (known == m_groupsByTexts.cend() && !m_everyGroupListed &&
        m_identitiesComposed >= kIdentitiesBeforeListing) {
        m_everyGroupListed = true;
        listEveryGroup(store);
        known = m_groupsByTexts.constFind(texts);
    }
    if (known != m_groupsByTexts.cend()) {
        m_lastGroup = known.value();
        return *m_lastGroup;
    }
    // A rule whose texts differ from those its group was listed under, or
    // one of a group not stored: the group's identity decides.
    ++m_identitiesComposed;
    const auto stored = store.constFind(RuleManager::applicationGroupIdentityForRule(rule));
    m_lastGroup = &addGroup(texts, stored != store.cend() ? &stored.value() : nullptr);
    return *m_lastGroup;
}
