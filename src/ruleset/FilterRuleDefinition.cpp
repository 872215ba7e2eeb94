#include "FilterRuleDefinition.h"

#include <QCoreApplication>

namespace {
const QString kActive = QStringLiteral("active");
const QString kRule = QStringLiteral("rule");
} // namespace

FilterRuleDefinition::FilterRuleDefinition(bool active, const QString &rule)
    : active(active)
    , rule(rule)
{}

QVariantMap FilterRuleDefinition::archive() const
{
    QVariantMap archive;
    archive.insert(kActive, active);
    if (!rule.isNull())
        archive.insert(kRule, rule);
    return archive;
}

std::optional<FilterRuleDefinition> FilterRuleDefinition::unarchive(const QVariantMap &archive,
                                                                    QString *error)
{
    const QVariant active = archive.value(kActive);
    const QVariant rule = archive.value(kRule);
    QString message;
    if (active.isValid() && active.metaType().id() != QMetaType::Bool)
        message = QCoreApplication::translate("FilterRuleDefinition",
                                              "The archived rule definition's \"active\" is not a boolean");
    else if (rule.isValid() && rule.metaType().id() != QMetaType::QString)
        message = QCoreApplication::translate("FilterRuleDefinition",
                                              "The archived rule definition's \"rule\" is not a string");
    if (!message.isEmpty()) {
        if (error)
            *error = message;
        return std::nullopt;
    }
    return FilterRuleDefinition(active.toBool(), rule.toString());
}
