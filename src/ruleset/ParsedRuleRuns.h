#pragma once

#include "RuleLineParser.h"

#include <QByteArrayView>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

// The lines of a rule file in runs, parsed ahead on a thread of its own while
// the reading thread parses the first run and then takes run after run into
// the store. Taking must go in file order, so it starts as soon as the first
// run is ready instead of after the whole file.
class ParsedRuleRuns
{
public:
    // `file` must outlive this object and every line handed out.
    ParsedRuleRuns(QByteArrayView file, bool system);
    ParsedRuleRuns(const ParsedRuleRuns &) = delete;
    ParsedRuleRuns &operator=(const ParsedRuleRuns &) = delete;

    std::size_t count() const { return m_parts.size(); }
    // The lines of run `index`, waiting until they are parsed. Runs are asked
    // for in order, and their records may be moved out.
    std::vector<ParsedRuleLine> &run(std::size_t index);

private:
    void parseAhead(std::stop_token stop);

    std::vector<QByteArrayView> m_parts;
    std::vector<std::vector<ParsedRuleLine>> m_parsed;
    RuleLineParser m_firstRunParser;
    // Runs after the first: parsed by the helper, or here when there is none.
    RuleLineParser m_laterRunsParser;

    std::mutex m_mutex;
    std::condition_variable m_parsedMore;
    std::size_t m_parsedAhead = 1; // runs before this one are parsed
    // Declared last: stopped and joined before the members it uses go.
    std::jthread m_helper;
};
