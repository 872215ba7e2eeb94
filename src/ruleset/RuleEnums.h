#pragma once

#include <QtGlobal>

// The small enumerations of the ruleset: words and bits are the file format's.
namespace PolicyClass {
constexpr quint32 Allow = 0;
constexpr quint32 Deny = 1;
constexpr quint32 Watch = 2;
constexpr quint32 Invalid = 5; // what an unknown class word reads as
} // namespace PolicyClass

namespace PolicyType {
constexpr quint32 Prefix = 0;
constexpr quint32 Path = 1;
constexpr quint32 Suffix = 2;
constexpr quint32 Invalid = 4; // what an unknown type word reads as
} // namespace PolicyType

namespace Operation {
constexpr quint32 Read = 1;
constexpr quint32 Write = 2;
constexpr quint32 Create = 4;
constexpr quint32 Modify = 8;
constexpr quint32 Execute = 16;
} // namespace Operation

namespace RuleFlag {
constexpr quint32 User = 1;   // "u", policy rules
constexpr quint32 Sticky = 2; // "s", watch rules
constexpr quint32 TeamID = 4; // "t", policy rules
} // namespace RuleFlag
