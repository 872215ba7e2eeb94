#include "TraceRule.h"

#include "RuleText.h"

QString TraceRule::description() const
{
    // "procesName" is the established spelling of this log line.
    return QStringLiteral("<TraceRule procesName=%1, path=%2>")
        .arg(RuleText::orNullMarker(processName), RuleText::orNullMarker(path));
}
