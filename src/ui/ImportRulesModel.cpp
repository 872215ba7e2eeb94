#include "ImportRulesModel.h"

#include "RulesTableModel.h"

ImportRulesModel::ImportRulesModel(RulesTableModel *rules, QObject *parent)
    : QIdentityProxyModel(parent)
    , m_rules(rules)
{
    setSourceModel(rules);
}

RuleBasePtr ImportRulesModel::ruleAtRow(int row) const
{
    return m_rules->ruleAtRow(row);
}

bool ImportRulesModel::isChecked(int row) const
{
    const RuleBasePtr rule = ruleAtRow(row);
    return rule && !m_unchecked.contains(rule.get());
}

QVariant ImportRulesModel::data(const QModelIndex &index, int role) const
{
    if (role == Qt::CheckStateRole && index.column() == RulesTableModel::StateColumn)
        return isChecked(index.row()) ? Qt::Checked : Qt::Unchecked;
    if (role == Qt::AccessibleTextRole && index.column() == RulesTableModel::StateColumn)
        return isChecked(index.row()) ? tr("Import") : tr("Do not import");
    return QIdentityProxyModel::data(index, role);
}

bool ImportRulesModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != Qt::CheckStateRole || index.column() != RulesTableModel::StateColumn)
        return false;
    const RuleBasePtr rule = ruleAtRow(index.row());
    if (!rule)
        return false;
    if (Qt::CheckState(value.toInt()) == Qt::Checked)
        m_unchecked.remove(rule.get());
    else
        m_unchecked.insert(rule.get());
    Q_EMIT dataChanged(index, index, {Qt::CheckStateRole, Qt::AccessibleTextRole});
    return true;
}

Qt::ItemFlags ImportRulesModel::flags(const QModelIndex &index) const
{
    Qt::ItemFlags flags = QIdentityProxyModel::flags(index) & ~Qt::ItemIsEditable;
    if (index.column() == RulesTableModel::StateColumn)
        flags |= Qt::ItemIsUserCheckable;
    return flags;
}
