#pragma once

#include "PolicyRule.h"

#include <QStringView>
#include <algorithm>
#include <cstring>

// The terms in which one rule of a group covers another, shared by the scan
// of a small group and the index of a large one.
namespace RuleCover {

// Compared unit by unit here: the library's comparison is a call for every rule.
inline bool isWholeScopePath(QStringView path)
{
    return !path.isNull() &&
           (path.isEmpty() || (path.size() == 3 && path[0] == u'a' && path[1] == u'n' && path[2] == u'y'));
}

inline quint8 lowMask(quint32 operations)
{
    return static_cast<quint8>(operations & 0xFF);
}

// A rule without a path or constraint can never cover another one.
inline bool canCover(const PolicyRule &rule)
{
    return !rule.pathView().isNull() && !rule.sharedConstraint().isNull();
}

// Paths of a group mostly share a long beginning: four units are compared at once.
inline qsizetype commonPrefixLength(QStringView a, QStringView b)
{
    const char16_t *x = a.utf16();
    const char16_t *y = b.utf16();
    const qsizetype n = std::min(a.size(), b.size());
    qsizetype i = 0;
    for (; i + 4 <= n; i += 4) {
        quint64 left;
        quint64 right;
        std::memcpy(&left, x + i, sizeof left);
        std::memcpy(&right, y + i, sizeof right);
        if (left != right)
            break;
    }
    while (i < n && x[i] == y[i])
        ++i;
    return i;
}

// Whether `path` begins with every unit of `prefix`.
inline bool hasPrefix(QStringView path, QStringView prefix)
{
    return prefix.size() <= path.size() && commonPrefixLength(path, prefix) == prefix.size();
}

// Equal code units; the texts of a group are mostly shared, so equal data is tried first.
inline bool sameUnits(QStringView a, QStringView b)
{
    return a.size() == b.size() &&
           (a.utf16() == b.utf16() || std::memcmp(a.utf16(), b.utf16(), std::size_t(a.size()) * 2) == 0);
}

} // namespace RuleCover
