#pragma once

#include <QtGlobal>

// What one caller may make the filter daemon hold. Far above any real
// ruleset, far below what would stall the daemon or exhaust its memory.
namespace quiven::filterd {

inline constexpr qsizetype kMaxRulesPerCall = 100000;
inline constexpr qsizetype kMaxRuleTextLength = 4096; // PATH_MAX, for every text field of a rule
// Per connection and protocol; a client needs one, a process with several clients a few.
inline constexpr qsizetype kMaxSubscriptionsPerProtocol = 32;

} // namespace quiven::filterd
