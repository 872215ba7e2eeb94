#pragma once

#include <QColor>
#include <QFont>
#include <QIcon>
#include <QString>
#include <optional>

// What one cell of the rules table shows; unset parts keep the view's defaults.
struct RuleCell
{
    QString text;
    QIcon icon;
    QColor textColor;
    std::optional<QFont> font;
    // Read to screen readers instead of the text (the state column's images).
    QString accessibleText;
};
