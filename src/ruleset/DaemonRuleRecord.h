#pragma once

#include <cstddef>

// Byte offsets of the filter daemon's fixed-layout rule record (native byte order).
namespace DaemonRuleRecord {
constexpr std::size_t PolicyClass = 0;
constexpr std::size_t PolicyType = 4;
constexpr std::size_t ProcessPath = 8;
constexpr std::size_t RelatedProcessPath = 1032;
constexpr std::size_t FilePath = 2056;
constexpr std::size_t PathCapacity = 1024;
constexpr std::size_t ConstraintValue = 3080;
constexpr std::size_t ConstraintValueSize = 32;
constexpr std::size_t ConstraintKind = 3112;
constexpr std::size_t ProcessRelation = 3116;
constexpr std::size_t Temporary = 3120;
constexpr std::size_t Operations = 3132;
constexpr std::size_t Flags = 3136;
constexpr std::size_t Restart = 3224;
constexpr std::size_t Created = 3232;
constexpr std::size_t MinimumSize = 3240; // a shorter buffer is not a record

constexpr unsigned ConstraintKindHash = 1;
constexpr unsigned ConstraintKindIdentifier = 2;
constexpr unsigned RelationVia = 1;
constexpr unsigned RelationAncestor = 2;
} // namespace DaemonRuleRecord
