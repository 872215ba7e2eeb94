#pragma once

// The one process-wide "the user's rules changed since the filter daemon last
// reloaded them" flag: every change of the user's ruleset or options sets it,
// only a successful rule reload clears it.
namespace RulesDirtyFlag {

bool isSet();
void set(bool dirty);

} // namespace RulesDirtyFlag
