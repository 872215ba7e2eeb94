#pragma once

#include "NVCRuleBase.h"
#include "RuleCell.h"
#include "RuleRows.h"

#include <QAbstractTableModel>
#include <QCache>
#include <QList>
#include <QSet>
#include <functional>

class RuleManager;

// The rules table's rows: the store's view of the ruleset, with or without
// system rules. Row i is the rule the store gives for index i; the model
// holds the store's (shared, never copied) view list from its last change, so
// the rows stay consistent with what the view was told while the store
// changes on another thread.
class RulesTableModel : public QAbstractTableModel
{
    Q_OBJECT
public:
    enum Column
    {
        StateColumn,
        ApplicationColumn,
        ActionColumn,
        TypeColumn,
        OperationsColumn,
        TagColumn,
        PathColumn,
        ConstraintColumn
    };

    explicit RulesTableModel(RuleManager *ruleManager, QObject *parent = nullptr);

    bool showSystemRules() const { return m_showSystemRules; }
    void setShowSystemRules(bool show);

    RuleBasePtr ruleAtRow(int row) const;
    // Rules to keep of the store's view, asked afresh on every change of the
    // view (rules are rebuilt when the daemon announces a new ruleset).
    using RowFilter = std::function<QSet<const NVCRuleBase *>()>;
    void setRowFilter(RowFilter filter);

    // Takes a row off the table without touching the store.
    void removeRowFromTable(int row);
    // Redraws the given columns of a row.
    void redrawRow(int row, int firstColumn, int lastColumn);

    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    void sort(int column, Qt::SortOrder order) override;

Q_SIGNALS:
    // The user typed a new tag into a row's tag cell.
    void tagEdited(int row, const QString &tag);

public Q_SLOTS:
    // Reads the store's view afresh.
    void reloadData();

private:
    const RuleCell &cellAt(int row, int column) const;

    RuleManager *m_ruleManager;
    bool m_showSystemRules = true;
    RowFilter m_rowFilter;
    RuleRows m_rows;
    mutable QCache<quint64, RuleCell> m_cells{4096};
};
