#pragma once

#include <QString>
#include <QVariantMap>

class FilterRuleDefinition
{
public:
    FilterRuleDefinition(bool active, const QString &rule);

    bool active = false;
    QString rule;

    // Keys "active" (boolean) and "rule" (text); unarchive checks both types.
    QVariantMap archive() const;
    static std::optional<FilterRuleDefinition> unarchive(const QVariantMap &archive, QString *error);
};
