#include "RuleSearch.h"

RuleSearch::RuleSearch(const QString &text)
    : m_text(text)
{}

bool RuleSearch::matches(const QString &field) const
{
    if (field.isNull() || field.size() < m_text.size())
        return false;
    return QStringView(field).contains(m_text, Qt::CaseInsensitive);
}

bool RuleSearch::matchesShared(const QString &field)
{
    // Equal data pointer and length mean the same characters while the rules
    // being filtered are alive, which holds for one rebuild.
    if (field.constData() == m_lastData && field.size() == m_lastSize && !field.isNull())
        return m_lastResult;
    m_lastData = field.constData();
    m_lastSize = field.size();
    m_lastResult = matches(field);
    return m_lastResult;
}
