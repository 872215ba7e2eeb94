#pragma once

#include <iterator>
#include <utility>

// The system rule files the daemons know, in the folder of system rule files.
namespace quiven::service {

// Chosen by "quiven-system-ruleset-in-use": the index into this list.
inline constexpr const char *kBaseRulesets[] = {"quiven.rc", "quiven_classic.rc", "paranoid.rc"};
inline constexpr std::size_t kBaseRulesetCount = std::size(kBaseRulesets);

// Read unless their option is 2.
inline constexpr std::pair<const char *, const char *> kOptionalRulesets[] = {
    {"policy.global.user", "user.rc"},
    {"policy.global.webcam", "webcam.rc"},
    {"policy.global.startup", "startup.rc"},
    {"policy.global.exec", "exec.rc"}};

} // namespace quiven::service
