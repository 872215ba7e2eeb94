#pragma once

#include "PolicyRule.h"

#include <span>
#include <vector>

// A group too small to be worth an index is answered by scanning those of its
// rules that can cover others, kept side by side.
namespace CovererScan {

// Larger groups are indexed: scanning a few rules costs less than indexing
// them, and a scanned group's answers fit in one 64-bit word.
constexpr std::size_t kLargestScannedGroup = 64;

// What the scan needs of a rule that can cover others.
struct Coverer
{
    const PolicyRule *rule;
    const char16_t *path;
    quint32 pathSize;
    quint32 policyClass;
    SharedText constraint;
    quint8 mask;
    bool wholeScope; // otherwise a prefix rule
};

// Appends the group's coverers to `coverers` and writes whether each member is
// covered to `answers`, one per member. Reads only the group, so any thread
// may answer a group while the store stays unchanged.
void answerGroup(std::span<const PolicyRulePtr> group, std::vector<Coverer> &coverers,
                 std::span<quint8> answers);
bool isCovered(std::span<const Coverer> coverers, const PolicyRule &rule);

} // namespace CovererScan
