#pragma once

#include <QString>
#include <optional>

// Values for the placeholders that user-visible texts carry. A placeholder
// whose value is not given is left in the text as it stands.
struct CustomizedPlaceholders
{
    std::optional<QString> quivenName;          // "%%QUIVEN_NAME%%" and "%%QUIVENNAME%%"
    std::optional<QString> quivenConfiguration; // "%%QUIVEN_CONFIGURATION%%"
    std::optional<QString> applicationName;     // "%%APPLICATION_NAME%%"
    std::optional<qint64> importedNumber;       // "%%IMPORTED_NUMBER%%"
    std::optional<qint64> totalNumber;          // "%%TOTAL_NUMBER%%"
};

// Replaces every placeholder occurrence as plain text in one pass over `text`,
// so an inserted value that itself holds "%%" is never substituted again.
// Call it on the already localized text.
QString replaceCustomizedPlaceholders(const QString &text, const CustomizedPlaceholders &values);
