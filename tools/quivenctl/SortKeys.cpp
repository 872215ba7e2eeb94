#include "SortKeys.h"

#include <QStringList>

namespace quivenctl {

std::optional<QList<RuleSortDescriptor>> parseSortKeys(const QString &keys, QString *error)
{
    static const QStringList textKeys{QStringLiteral("path"), QStringLiteral("processName"),
                                      QStringLiteral("processShortName"), QStringLiteral("tag"),
                                      QStringLiteral("constraint")};
    static const QStringList numberKeys{QStringLiteral("policyClass"), QStringLiteral("policyType"),
                                        QStringLiteral("operations"),  QStringLiteral("flags"),
                                        QStringLiteral("created"),     QStringLiteral("sequence"),
                                        QStringLiteral("system")};

    QList<RuleSortDescriptor> descriptors;
    for (const QString &item : keys.split(QLatin1Char(','))) {
        const QStringList parts = item.split(QLatin1Char(':'));
        RuleSortDescriptor descriptor;
        descriptor.key = parts.first();
        const bool isText = textKeys.contains(descriptor.key);
        if (!isText && !numberKeys.contains(descriptor.key)) {
            *error = QStringLiteral("unknown sort key '%1' (known: %2)")
                         .arg(descriptor.key, (textKeys + numberKeys).join(QStringLiteral(", ")));
            return std::nullopt;
        }
        if (parts.size() > 2 ||
            (parts.size() == 2 && parts[1] != QLatin1String("desc") && parts[1] != QLatin1String("asc"))) {
            *error = QStringLiteral("bad sort direction in '%1' (use :asc or :desc)").arg(item);
            return std::nullopt;
        }
        descriptor.ascending = parts.size() == 1 || parts[1] == QLatin1String("asc");
        descriptor.comparison = isText ? RuleSortDescriptor::Comparison::CaseInsensitiveCompare
                                       : RuleSortDescriptor::Comparison::Compare;
        descriptors.append(descriptor);
    }
    return descriptors;
}

} // namespace quivenctl
