#pragma once

#include "RuleMatching.h"

#include <QByteArray>
#include <QJsonObject>

// How `rules match` shows its answer: one JSON document, or lines for people.
namespace quivenctl {

// "access", then "matches" and "wouldMatchIfValid": each rule in its JSON
// form plus "class" (its word, "watch" for watch rules), "row" and, for
// policy rules, "redundant".
QJsonObject matchReport(const FileAccess &access, const AccessMatches &answer);

// A header and one line a rule, then the rules that would match if valid.
QByteArray matchText(const AccessMatches &answer);

} // namespace quivenctl
