#include "CovererScan.h"

#include "RuleCover.h"
#include "RuleManager.h"
#include "RulePrefetch.h"

using namespace RuleCover;

namespace CovererScan {

bool isCovered(std::span<const Coverer> coverers, const PolicyRule &rule)
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
        if (!path.isNull() && hasPrefix(path, QStringView(coverer.path, coverer.pathSize)))
            return true;
    }
    return false;
}

void answerGroup(std::span<const PolicyRulePtr> group, std::vector<Coverer> &coverers,
                 std::span<quint8> answers)
{
    // The members lie anywhere in memory: all are asked for before the first
    // is read, so that their misses overlap.
    for (const PolicyRulePtr &member : group) {
        if (member)
            prefetchRuleData(member.get());
    }
    const std::size_t first = coverers.size();
    for (const PolicyRulePtr &member : group) {
        if (!member)
            continue;
        const QStringView path = member->pathView();
        if (!path.isEmpty())
            prefetchRuleData(path.utf16()); // read by the scan below
        if (!canCover(*member))
            continue;
        const bool wholeScope = isWholeScopePath(path);
        if (wholeScope || member->policyType == PolicyType::Prefix)
            coverers.push_back({member.get(), path.utf16(), quint32(path.size()), member->policyClass,
                                member->sharedConstraint(), lowMask(member->operations), wholeScope});
    }
    const std::span<const Coverer> found = std::span(coverers).subspan(first);
    for (std::size_t i = 0; i < group.size(); ++i)
        answers[i] = group[i] && isCovered(found, *group[i]);
}

} // namespace CovererScan
