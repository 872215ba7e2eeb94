#pragma once

#include <QString>

// One sort key from the rules table: a rule property, a direction and a comparison.
// Keys: "path", "processName", "processShortName", "tag", "constraint", "policyClass",
// "policyType", "operations", "flags", "created", "sequence", "system".
struct RuleSortDescriptor
{
    enum class Comparison
    {
        Compare,
        CaseInsensitiveCompare,
        LocalizedStandardCompare
    };

    QString key;
    bool ascending = true;
    Comparison comparison = Comparison::Compare;
};
