#pragma once

#include "NVCRuleBase.h"

#include <QIdentityProxyModel>
#include <QSet>

class RulesTableModel;

// The suggestion table: the main table's cells over a file's rules, with a
// check box in the first column (checked until the user unticks it) and no
// tag editing.
class ImportRulesModel : public QIdentityProxyModel
{
    Q_OBJECT
public:
    explicit ImportRulesModel(RulesTableModel *rules, QObject *parent = nullptr);

    RuleBasePtr ruleAtRow(int row) const;
    bool isChecked(int row) const;

    QVariant data(const QModelIndex &index, int role) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;

private:
    RulesTableModel *m_rules;
    // Kept per rule, so a row keeps its box through sorting.
    QSet<const NVCRuleBase *> m_unchecked;
};
