#include "RuleViews.h"

#include <algorithm>

void RuleViews::beginListing(qsizetype watchCount, qsizetype policyCount)
{
    // Cleared rather than replaced: a filter keystroke refills lists of about
    // the same size, and unshared lists keep their capacity.
    m_watches.clear();
    m_policies.clear();
    m_watches.reserve(watchCount);
    m_policies.reserve(policyCount);
    m_order.reset();
    m_userOrder.reset();
}

void RuleViews::appendWatch(const WatchRulePtr &rule)
{
    Q_ASSERT(m_policies.isEmpty());
    m_watches.append(rule);
    listedLast(rule->system);
}

void RuleViews::appendPolicy(const PolicyRulePtr &rule)
{
    m_policies.append(rule);
    listedLast(rule->system);
}

void RuleViews::listedLast(bool system)
{
    // The user-only view splits off at the first system rule: every rule
    // listed before it is the user's.
    const auto position = quint32(listingSize() - 1);
    if (system && !m_userOrder)
        m_userOrder = RuleRows::listingOrder(position);
    else if (!system && m_userOrder)
        m_userOrder->append(position);
}

const std::optional<QList<quint32>> &RuleViews::orderOf(bool includeSystemRules) const
{
    return includeSystemRules || !m_userOrder ? m_order : m_userOrder;
}

RuleRows RuleViews::rows(bool includeSystemRules) const
{
    return RuleRows(m_watches, m_policies, orderOf(includeSystemRules));
}

qsizetype RuleViews::size(bool includeSystemRules) const
{
    const std::optional<QList<quint32>> &order = orderOf(includeSystemRules);
    return order ? order->size() : listingSize();
}

const NVCRuleBase *RuleViews::ruleAt(qsizetype row, bool includeSystemRules) const
{
    const std::optional<QList<quint32>> &order = orderOf(includeSystemRules);
    return RuleRows::listed(m_watches, m_policies, order ? qsizetype(order->at(row)) : row);
}

void RuleViews::reorder(const std::vector<qsizetype> &order)
{
    QList<quint32> moved;
    moved.reserve(qsizetype(order.size()));
    for (const qsizetype row : order)
        moved.append(m_order ? m_order->at(row) : quint32(row));
    m_order = std::move(moved);
    if (!m_userOrder)
        return;
    // A stable sort keeps the user-only view the system-free subsequence of
    // the full one. Which positions are the user's is known without reading
    // the records, which lie scattered over memory.
    std::vector<bool> isUsers(static_cast<std::size_t>(listingSize()));
    for (const quint32 position : std::as_const(*m_userOrder))
        isUsers[position] = true;
    QList<quint32> user;
    user.reserve(m_userOrder->size());
    for (const quint32 position : std::as_const(*m_order)) {
        if (isUsers[position])
            user.append(position);
    }
    m_userOrder = std::move(user);
}

void RuleViews::insertPolicy(qsizetype at, const PolicyRulePtr &rule, qsizetype row, qsizetype userRow)
{
    const auto position = quint32(m_watches.size() + at);
    // Rows are kept only once a view's order differs from the listing's.
    if (!m_order && qsizetype(position) != row)
        m_order = RuleRows::listingOrder(listingSize());
    if (rule->system && !m_userOrder)
        m_userOrder = m_order ? *m_order : RuleRows::listingOrder(listingSize());
    m_policies.insert(at, rule);

    const auto makeRoom = [position](QList<quint32> &order) {
        for (quint32 &listed : order)
            listed += listed >= position ? 1 : 0;
    };
    if (m_order) {
        makeRoom(*m_order);
        m_order->insert(row, position);
    }
    if (m_userOrder) {
        makeRoom(*m_userOrder);
        if (!rule->system)
            m_userOrder->insert(userRow, position);
    }
}

std::vector<qsizetype> RuleViews::removePolicy(const PolicyRulePtr &rule)
{
    std::vector<quint32> positions;
    for (qsizetype at = 0; at < m_policies.size(); ++at) {
        if (m_policies.at(at) == rule)
            positions.push_back(quint32(m_watches.size() + at));
    }
    if (positions.empty())
        return {};
    m_policies.removeAll(rule);

    // Positions after a removed one move down by the number removed before them.
    const auto close = [&positions](QList<quint32> &order, std::vector<qsizetype> *rows) {
        qsizetype kept = 0;
        for (qsizetype row = 0; row < order.size(); ++row) {
            const quint32 listed = order.at(row);
            const auto before = std::lower_bound(positions.cbegin(), positions.cend(), listed);
            if (before != positions.cend() && *before == listed) {
                if (rows)
                    rows->push_back(row);
            } else {
                order[kept++] = listed - quint32(before - positions.cbegin());
            }
        }
        order.resize(kept);
    };
    std::vector<qsizetype> rows;
    if (m_order)
        close(*m_order, &rows);
    else
        rows.assign(positions.cbegin(), positions.cend());
    if (m_userOrder)
        close(*m_userOrder, nullptr);
    return rows;
}
