#pragma once

#include "RuleLineParser.h"

#include <QByteArrayView>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

// The lines of a rule file in runs, parsed by the reading thread and a helper
// thread side by side. Taking must go in file order, so it starts as soon as
// the first run is ready; while the next run is still being parsed, the
// reading thread parses a later one instead of waiting. Whichever thread is
// free takes the next run to parse, so the two share the work however long
// taking lines into the store takes.
class ParsedRuleRuns
{
public:
    // `file` must outlive this object and every line handed out.
    ParsedRuleRuns(QByteArrayView file, bool system);
    ParsedRuleRuns(const ParsedRuleRuns &) = delete;
    ParsedRuleRuns &operator=(const ParsedRuleRuns &) = delete;

    std::size_t count() const { return m_parts.size(); }
    // The lines of run `index`, once they are parsed. Runs are asked for in
    // order, and their records may be moved out.
    std::vector<ParsedRuleLine> &run(std::size_t index);

private:
    // Parses the next run nobody has taken yet with `parser`; false when
    // every run is taken.
    bool parseNextRun(RuleLineParser &parser);
    void parseAhead(std::stop_token stop);

    std::vector<QByteArrayView> m_parts;
    std::vector<std::vector<ParsedRuleLine>> m_parsed;
    // Each thread parses with its own parser.
    RuleLineParser m_readingThreadParser;
    RuleLineParser m_helperParser;
    std::atomic<std::size_t> m_nextToParse = 0;

    std::mutex m_mutex;
    std::condition_variable m_parsedMore;
    std::vector<bool> m_isParsed; // guarded by m_mutex
    // Declared last: stopped and joined before the members it uses go.
    std::jthread m_helper;
};
