#include "CustomizedPlaceholders.h"

#include <array>

QString replaceCustomizedPlaceholders(const QString &text, const CustomizedPlaceholders &values)
{
    auto number = [](const std::optional<qint64> &n) {
        return n ? std::optional<QString>(QString::number(*n)) : std::nullopt;
    };
    const std::array<std::pair<QLatin1String, std::optional<QString>>, 6> table{{
        {QLatin1String("%%QUIVEN_NAME%%"), values.quivenName},
        {QLatin1String("%%QUIVENNAME%%"), values.quivenName},
        {QLatin1String("%%QUIVEN_CONFIGURATION%%"), values.quivenConfiguration},
        {QLatin1String("%%APPLICATION_NAME%%"), values.applicationName},
        {QLatin1String("%%IMPORTED_NUMBER%%"), number(values.importedNumber)},
        {QLatin1String("%%TOTAL_NUMBER%%"), number(values.totalNumber)},
    }};

    const QLatin1String marker("%%");
    QString result;
    result.reserve(text.size());
    qsizetype done = 0;
    qsizetype at = text.indexOf(marker);
    while (at >= 0) {
        bool replaced = false;
        for (const auto &[placeholder, value] : table) {
            if (value && QStringView(text).mid(at).startsWith(placeholder)) {
                result += QStringView(text).mid(done, at - done);
                result += *value;
                done = at + placeholder.size();
                replaced = true;
                break;
            }
        }
        at = text.indexOf(marker, replaced ? done : at + 1);
    }
    result += QStringView(text).mid(done);
    return result;
}
