#pragma once

#include "RuleRows.h"

#include <optional>
#include <vector>

// The store's two views over one listing (the shown watch rules, then the
// shown policy rules in group order): every rule, and the user's rules only,
// which are the full view without its system rules. Rows are 32-bit listing
// positions, and none are kept while a view shows the listing as it is.
class RuleViews
{
public:
    // Fills the listing anew, watch rules first; both views then show it in its order.
    void beginListing(qsizetype watchCount, qsizetype policyCount);
    void appendWatch(const WatchRulePtr &rule);
    void appendPolicy(const PolicyRulePtr &rule);

    const QList<PolicyRulePtr> &policies() const { return m_policies; }
    RuleRows rows(bool includeSystemRules) const;
    qsizetype size(bool includeSystemRules) const;
    const NVCRuleBase *ruleAt(qsizetype row, bool includeSystemRules) const;

    // Row i of the full view shows what row order[i] showed.
    void reorder(const std::vector<qsizetype> &order);
    // The rule enters the policies at `at`, the full view at `row` and,
    // unless it is a system rule, the user-only view at `userRow`.
    void insertPolicy(qsizetype at, const PolicyRulePtr &rule, qsizetype row, qsizetype userRow);
    // Every appearance of the rule leaves; answers the full view's rows it
    // held, ascending, as they were before.
    std::vector<qsizetype> removePolicy(const PolicyRulePtr &rule);

private:
    qsizetype listingSize() const { return m_watches.size() + m_policies.size(); }
    const std::optional<QList<quint32>> &orderOf(bool includeSystemRules) const;
    void listedLast(bool system);

    QList<WatchRulePtr> m_watches;
    QList<PolicyRulePtr> m_policies;
    std::optional<QList<quint32>> m_order;
    // Absent while no system rule is listed: the user-only view is then the full one.
    std::optional<QList<quint32>> m_userOrder;
};
