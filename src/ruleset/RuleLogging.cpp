#include "RuleLogging.h"

#include <cstring>

// Flow messages are debug level and stay quiet unless enabled through the logging rules.
Q_LOGGING_CATEGORY(lcRuleManagement, "com.norvalis.rule-management", QtInfoMsg)

QString systemErrorText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}
