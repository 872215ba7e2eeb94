#pragma once

#include "PolicyRule.h"
#include "WatchRule.h"

#include <QList>
#include <iterator>
#include <optional>

// The rows of a rule table: positions in a listing of watch rules followed by
// policy rules, in the listing's order unless an order is given. Copies share
// their lists, so a table holds a view of a million rules for a few bytes a row.
class RuleRows
{
public:
    RuleRows() = default;
    RuleRows(QList<WatchRulePtr> watches, QList<PolicyRulePtr> policies,
             std::optional<QList<quint32>> order = std::nullopt);

    qsizetype size() const { return m_order ? m_order->size() : listingSize(); }
    bool isEmpty() const { return size() == 0; }
    // The rule of a row, without touching its reference count.
    const NVCRuleBase *ruleAt(qsizetype row) const;
    RuleBasePtr at(qsizetype row) const;
    QList<RuleBasePtr> toList() const;

    void removeAt(qsizetype row);
    template <typename Predicate> void removeIf(Predicate dropped)
    {
        QList<quint32> &order = ownOrder();
        order.removeIf([this, &dropped](quint32 position) {
            return dropped(listed(m_watches, m_policies, qsizetype(position)));
        });
    }

    class const_iterator
    {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = RuleBasePtr;
        using difference_type = qsizetype;
        using pointer = void;
        using reference = RuleBasePtr;

        const_iterator(const RuleRows *rows, qsizetype row)
            : m_rows(rows)
            , m_row(row)
        {}
        RuleBasePtr operator*() const { return m_rows->at(m_row); }
        const_iterator &operator++()
        {
            ++m_row;
            return *this;
        }
        bool operator==(const const_iterator &other) const { return m_row == other.m_row; }

    private:
        const RuleRows *m_rows;
        qsizetype m_row;
    };
    const_iterator begin() const { return {this, 0}; }
    const_iterator end() const { return {this, size()}; }

    // The rule at a position of a listing, and every position of a listing in its order.
    static const NVCRuleBase *listed(const QList<WatchRulePtr> &watches, const QList<PolicyRulePtr> &policies,
                                     qsizetype position);
    static QList<quint32> listingOrder(qsizetype size);

private:
    qsizetype listingSize() const { return m_watches.size() + m_policies.size(); }
    quint32 positionOf(qsizetype row) const { return m_order ? m_order->at(row) : quint32(row); }
    QList<quint32> &ownOrder();

    QList<WatchRulePtr> m_watches;
    QList<PolicyRulePtr> m_policies;
    std::optional<QList<quint32>> m_order;
};
