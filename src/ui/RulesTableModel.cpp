#include "RulesTableModel.h"

#include "NVCEditPolicyUI.h"
#include "RuleManager.h"

#include <QMutexLocker>

namespace {

// The rule property a column sorts by.
const char *const kSortKeys[] = {
    "system", "processShortName", "policyClass", "policyType", "operations", "tag", "path", "constraint"};

bool isTextKey(int column)
{
    return column == RulesTableModel::ApplicationColumn || column == RulesTableModel::TagColumn ||
           column == RulesTableModel::PathColumn || column == RulesTableModel::ConstraintColumn;
}

} // namespace

RulesTableModel::RulesTableModel(RuleManager *ruleManager, QObject *parent)
    : QAbstractTableModel(parent)
    , m_ruleManager(ruleManager)
{
    // Queued when the store changes on another thread, direct on this one.
    connect(m_ruleManager, &RuleManager::viewChanged, this, &RulesTableModel::reloadData);
    reloadData();
}

void RulesTableModel::setShowSystemRules(bool show)
{
    if (show == m_showSystemRules)
        return;
    m_showSystemRules = show;
    reloadData();
}

void RulesTableModel::reloadData()
{
    beginResetModel();
    {
        QMutexLocker locker(&m_ruleManager->lock());
        m_rows =
            m_showSystemRules ? m_ruleManager->compositeIndex() : m_ruleManager->compositeIndexUserOnly();
    }
    if (m_rowFilter) {
        const QSet<const NVCRuleBase *> kept = m_rowFilter();
        m_rows.removeIf([&kept](const NVCRuleBase *rule) { return !kept.contains(rule); });
    }
    m_cells.clear();
    endResetModel();
}

void RulesTableModel::setRowFilter(RowFilter filter)
{
    m_rowFilter = std::move(filter);
    reloadData();
}

RuleBasePtr RulesTableModel::ruleAtRow(int row) const
{
    return row >= 0 && row < m_rows.size() ? m_rows.at(row) : nullptr;
}

void RulesTableModel::removeRowFromTable(int row)
{
    if (row < 0 || row >= m_rows.size())
        return;
    beginRemoveRows({}, row, row);
    m_rows.removeAt(row);
    m_cells.clear();
    endRemoveRows();
}

void RulesTableModel::redrawRow(int row, int firstColumn, int lastColumn)
{
    if (row < 0 || row >= m_rows.size())
        return;
    for (int column = firstColumn; column <= lastColumn; ++column)
        m_cells.remove(quint64(row) * NVCEditPolicyUI::columnCount + quint64(column));
    Q_EMIT dataChanged(index(row, firstColumn), index(row, lastColumn));
}

int RulesTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

int RulesTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : NVCEditPolicyUI::columnCount;
}

const RuleCell &RulesTableModel::cellAt(int row, int column) const
{
    const quint64 key = quint64(row) * NVCEditPolicyUI::columnCount + quint64(column);
    if (const RuleCell *known = m_cells.object(key))
        return *known;
    auto *cell = new RuleCell;
    const RuleBasePtr rule = m_rows.at(row);
    if (column == StateColumn)
        NVCEditPolicyUI::setRuleState(rule->getRuleState(), *cell);
    if (const auto policy = std::dynamic_pointer_cast<PolicyRule>(rule)) {
        const NVCRuleBase *parentRule = nullptr;
        if (row >= 1 && dynamic_cast<const PolicyRule *>(m_rows.ruleAt(row - 1)))
            parentRule = m_rows.ruleAt(row - 1);
        NVCEditPolicyUI::populatePolicyRule(policy, *cell, column, parentRule, *m_ruleManager);
    } else if (const auto watch = std::dynamic_pointer_cast<WatchRule>(rule)) {
        NVCEditPolicyUI::populateWatchRule(*watch, *cell, column);
    }
    m_cells.insert(key, cell);
    return *m_cells.object(key);
}

QVariant RulesTableModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= m_rows.size())
        return {};
    if (role == Qt::EditRole)
        return index.column() == TagColumn ? QVariant(m_rows.ruleAt(index.row())->tag()) : QVariant();
    const RuleCell &cell = cellAt(index.row(), index.column());
    switch (role) {
    case Qt::DisplayRole:
        return cell.text.isEmpty() ? QVariant() : QVariant(cell.text);
    case Qt::DecorationRole:
        return cell.icon.isNull() ? QVariant() : QVariant(cell.icon);
    case Qt::ForegroundRole:
        return cell.textColor.isValid() ? QVariant(cell.textColor) : QVariant();
    case Qt::FontRole:
        return cell.font ? QVariant(*cell.font) : QVariant();
    case Qt::AccessibleTextRole:
        return cell.accessibleText.isEmpty() ? QVariant(cell.text) : QVariant(cell.accessibleText);
    case Qt::ToolTipRole:
        return index.column() == ApplicationColumn ? QVariant(m_rows.ruleAt(index.row())->processName())
                                                   : QVariant();
    default:
        return {};
    }
}

QVariant RulesTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || (role != Qt::DisplayRole && role != Qt::AccessibleTextRole))
        return QAbstractTableModel::headerData(section, orientation, role);
    switch (section) {
    case StateColumn:
        return role == Qt::AccessibleTextRole ? tr("State") : QString();
    case ApplicationColumn:
        return tr("Application");
    case ActionColumn:
        return tr("Action");
    case TypeColumn:
        return tr("Type");
    case OperationsColumn:
        return tr("Operations");
    case TagColumn:
        return tr("Tag");
    case PathColumn:
        return tr("Path");
    case ConstraintColumn:
        return tr("Constraint");
    default:
        return {};
    }
}

Qt::ItemFlags RulesTableModel::flags(const QModelIndex &index) const
{
    Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    if (index.column() == TagColumn)
        flags |= Qt::ItemIsEditable;
    return flags;
}

bool RulesTableModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != Qt::EditRole || index.column() != TagColumn || !ruleAtRow(index.row()))
        return false;
    // The store changes (or refuses) through the table controller's save.
    Q_EMIT tagEdited(index.row(), value.toString());
    return true;
}

void RulesTableModel::sort(int column, Qt::SortOrder order)
{
    if (column < 0 || column >= NVCEditPolicyUI::columnCount)
        return;
    RuleSortDescriptor descriptor;
    descriptor.key = QString::fromLatin1(kSortKeys[column]);
    descriptor.ascending = order == Qt::AscendingOrder;
    descriptor.comparison = isTextKey(column) ? RuleSortDescriptor::Comparison::CaseInsensitiveCompare
                                              : RuleSortDescriptor::Comparison::Compare;
    m_ruleManager->sortIndexUsingDescriptors({descriptor});
}
