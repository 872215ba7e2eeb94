#pragma once

#include <QLoggingCategory>
#include <QString>

Q_DECLARE_LOGGING_CATEGORY(lcRuleManagement) // "com.norvalis.rule-management"

// The system's text for an errno value, as failure messages show it.
QString systemErrorText(int error);
