#include "RedundancyIndex.h"

#include "RuleManager.h"
#include "StringEquality.h"

#include <algorithm>

namespace {

bool isWholeScopePath(const QString &path)
{
    return !path.isNull() && (path.isEmpty() || path == QLatin1String("any"));
}

quint8 lowMask(quint32 operations)
{
    return static_cast<quint8>(operations & 0xFF);
}

// A rule without a path or constraint can never cover another one, so it is
// left out of the index entirely.
bool canCover(const PolicyRule &rule)
{
    return !rule.path.isNull() && !rule.constraint.isNull();
}

qsizetype commonPrefixLength(QStringView a, QStringView b)
{
    const qsizetype n = std::min(a.size(), b.size());
    qsizetype i = 0;
    while (i < n && a[i] == b[i])
        ++i;
    return i;
}

} // namespace

bool RedundancyIndex::covers(const PolicyRule &covering, const PolicyRule &rule)
{
    if (!canCover(covering) || covering.policyClass != rule.policyClass)
        return false;
    if (!RuleManager::isBitwiseInclusive(covering.operations, rule.operations))
        return false;
    if (!isStringEqualToString(covering.constraint, rule.constraint))
        return false;
    if (isWholeScopePath(covering.path))
        return true;
    return covering.policyType == PolicyType::Prefix && !rule.path.isNull() &&
           rule.path.startsWith(covering.path);
}

bool RedundancyIndex::scanGroup(const QList<PolicyRulePtr> &group, const PolicyRule &rule)
{
    return std::any_of(group.cbegin(), group.cend(), [&rule](const PolicyRulePtr &member) {
        return member && member.get() != &rule && covers(*member, rule);
    });
}

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
auto findBucket(List &list, quint32 policyClass, const QString &constraint) -> decltype(list.data())
{
    for (auto &bucket : list) {
        if (bucket.policyClass == policyClass && bucket.constraint == constraint)
            return &bucket;
    }
    return nullptr;
}

template <typename List> auto &bucketFor(List &list, quint32 policyClass, const QString &constraint)
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
    std::vector<const PolicyRule *> prefixRules;
    members.reserve(std::size_t(group.size()));
    for (const PolicyRulePtr &member : group) {
        if (!member || !canCover(*member))
            continue;
        const PolicyRule &rule = *member;
        if (isWholeScopePath(rule.path))
            bucketFor(wholeScope, rule.policyClass, rule.constraint).add(lowMask(rule.operations));
        else if (rule.policyType == PolicyType::Prefix)
            prefixRules.push_back(&rule);
        else
            continue;
        members.push_back(&rule);
    }
    std::sort(members.begin(), members.end());
    std::sort(prefixRules.begin(), prefixRules.end(),
              [](const PolicyRule *a, const PolicyRule *b) { return a->path < b->path; });
    for (const PolicyRule *rule : prefixRules) {
        if (prefix.empty() || prefix.back().path != rule->path)
            prefix.push_back({rule->path, -1, {}});
        bucketFor(prefix.back().buckets, rule->policyClass, rule->constraint).add(lowMask(rule->operations));
    }

    // In sorted order every prefix of a path comes before it, and the stack
    // holds the prefix chain of the previous path.
    std::vector<int> chain;
    for (int i = 0; i < int(prefix.size()); ++i) {
        while (!chain.empty() && !prefix[i].path.startsWith(prefix[chain.back()].path))
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

int RedundancyIndex::GroupIndex::longestPrefixOf(const QString &path) const
{
    // Every indexed prefix of `path` sorts at or before it, and is a prefix of
    // the greatest indexed path not after it.
    const auto after = std::upper_bound(prefix.begin(), prefix.end(), path,
                                        [](const QString &p, const PrefixPath &e) { return p < e.path; });
    if (after == prefix.begin())
        return -1;
    int candidate = int(after - prefix.begin()) - 1;
    const qsizetype shared = commonPrefixLength(prefix[candidate].path, path);
    while (candidate >= 0 && prefix[candidate].path.size() > shared)
        candidate = prefix[candidate].parent;
    return candidate;
}

bool RedundancyIndex::GroupIndex::isRedundant(const PolicyRule &rule) const
{
    if (rule.constraint.isNull())
        return false;
    const quint8 mask = lowMask(rule.operations);

    if (const Bucket *bucket = findBucket(wholeScope, rule.policyClass, rule.constraint)) {
        int count = bucket->coveringCount(mask);
        if (count > 0 && isWholeScopePath(rule.path))
            count -= selfCount(rule);
        if (count > 0)
            return true;
    }

    if (rule.path.isNull() || prefix.empty())
        return false;
    for (int i = longestPrefixOf(rule.path); i >= 0; i = prefix[i].parent) {
        const Bucket *bucket = findBucket(prefix[i].buckets, rule.policyClass, rule.constraint);
        if (!bucket)
            continue;
        int count = bucket->coveringCount(mask);
        if (count > 0 && rule.policyType == PolicyType::Prefix && rule.path == prefix[i].path)
            count -= selfCount(rule);
        if (count > 0)
            return true;
    }
    return false;
}

bool RedundancyIndex::isRedundant(const QList<PolicyRulePtr> &group, const PolicyRule &rule)
{
    auto it = m_groups.find(&group);
    if (it == m_groups.end())
        it = m_groups.try_emplace(&group, group).first;
    return it->second.isRedundant(rule);
}

bool RedundancyIndex::isRedundant(const QHash<QString, QList<PolicyRulePtr>> &store, const PolicyRule &rule)
{
    const QList<PolicyRulePtr> *group = groupOf(store, rule);
    return group && isRedundant(*group, rule);
}

const QList<PolicyRulePtr> *RedundancyIndex::groupOf(const QHash<QString, QList<PolicyRulePtr>> &store,
                                                     const PolicyRule &rule)
{
    auto &candidates = m_groupsByTexts[{rule.processName.constData(), rule.constraint.constData()}];
    const auto sameText = [](const QString &a, const QString &b) {
        return a.constData() == b.constData() && a.size() == b.size() && a.isNull() == b.isNull();
    };
    for (const GroupOfTexts &known : candidates) {
        if (sameText(known.processName, rule.processName) && sameText(known.constraint, rule.constraint))
            return known.group;
    }
    const auto found = store.constFind(RuleManager::applicationGroupIdentityForRule(rule));
    const QList<PolicyRulePtr> *group = found == store.cend() ? nullptr : &found.value();
    candidates.append({rule.processName, rule.constraint, group});
    return group;
}
