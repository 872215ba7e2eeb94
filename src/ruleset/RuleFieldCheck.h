#pragma once

#include "NVCRuleBase.h"

#include <QString>
#include <QStringView>
#include <optional>

// A rule line keeps each text field between double quotes and ends at a line
// separator, so a field holding either would be read back as other fields or
// other rules. These checks say which field cannot be written as it stands.
enum class RuleField
{
    Path,
    Process,
    Tag,
    Constraint
};

// Every character at which the reader ends a line: LF, VT, FF, CR, NEL, U+2028, U+2029.
bool isRuleLineSeparator(char16_t c);

// The first field of the rule that its file line cannot hold, or none. The tag
// loses its double quotes when written, so only a line separator is refused there.
std::optional<RuleField> unwritableRuleField(const NVCRuleBase &rule);

// The field's name as the command line and the messages use it ("path", "process", ...).
QString ruleFieldName(RuleField field);
