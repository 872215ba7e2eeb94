#pragma once

#include <QString>

// Absent (null) and empty texts are different values in the ruleset: an absent
// text equals only another absent one. QString's operator== would equate them.
inline bool isStringEqualToString(QStringView a, QStringView b)
{
    if (a.isNull() || b.isNull())
        return a.isNull() && b.isNull();
    return a == b;
}
