#include "RuleRows.h"

#include <numeric>

RuleRows::RuleRows(QList<WatchRulePtr> watches, QList<PolicyRulePtr> policies,
                   std::optional<QList<quint32>> order)
    : m_watches(std::move(watches))
    , m_policies(std::move(policies))
    , m_order(std::move(order))
{}

const NVCRuleBase *RuleRows::listed(const QList<WatchRulePtr> &watches, const QList<PolicyRulePtr> &policies,
                                    qsizetype position)
{
    return position < watches.size() ? static_cast<const NVCRuleBase *>(watches.at(position).get())
                                     : policies.at(position - watches.size()).get();
}

QList<quint32> RuleRows::listingOrder(qsizetype size)
{
    QList<quint32> order(size);
    std::iota(order.begin(), order.end(), quint32(0));
    return order;
}

const NVCRuleBase *RuleRows::ruleAt(qsizetype row) const
{
    return listed(m_watches, m_policies, qsizetype(positionOf(row)));
}

RuleBasePtr RuleRows::at(qsizetype row) const
{
    const qsizetype position = positionOf(row);
    const qsizetype watchCount = m_watches.size();
    return position < watchCount ? RuleBasePtr(m_watches.at(position))
                                 : RuleBasePtr(m_policies.at(position - watchCount));
}

QList<RuleBasePtr> RuleRows::toList() const
{
    QList<RuleBasePtr> list;
    list.reserve(size());
    for (qsizetype row = 0; row < size(); ++row)
        list.append(at(row));
    return list;
}

void RuleRows::removeAt(qsizetype row)
{
    ownOrder().removeAt(row);
}

QList<quint32> &RuleRows::ownOrder()
{
    if (!m_order)
        m_order = listingOrder(listingSize());
    return *m_order;
}
