#include "RuleRows.h"

#include <numeric>

RuleRows::RuleRows(QList<WatchRulePtr> watches, QList<PolicyRulePtr> policies,
                   std::optional<QList<quint32>> order)
    : m_watches(std::move(watches))
    , m_policies(std::move(policies))
    , m_order(std::move(order))
{}

const NVCRuleBase *RuleRows::ruleAtPosition(quint32 position) const
{
    const qsizetype watchCount = m_watches.size();
    return qsizetype(position) < watchCount ? static_cast<const NVCRuleBase *>(m_watches.at(position).get())
                                            : m_policies.at(position - watchCount).get();
}

const NVCRuleBase *RuleRows::ruleAt(qsizetype row) const
{
    return ruleAtPosition(positionOf(row));
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
    if (!m_order) {
        QList<quint32> listing(listingSize());
        std::iota(listing.begin(), listing.end(), quint32(0));
        m_order = std::move(listing);
    }
    return *m_order;
}
