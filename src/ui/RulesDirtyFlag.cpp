#include "RulesDirtyFlag.h"

#include <atomic>

namespace {

std::atomic_bool rulesDirty = false;

} // namespace

namespace RulesDirtyFlag {

bool isSet()
{
    return rulesDirty.load();
}

void set(bool dirty)
{
    rulesDirty.store(dirty);
}

} // namespace RulesDirtyFlag
