#include "ParsedRuleRuns.h"

#include <system_error>

namespace {

// Small enough that neither thread waits long for the other at the end, and
// that the reading thread starts taking lines soon.
constexpr int kRuns = 24;

} // namespace

ParsedRuleRuns::ParsedRuleRuns(QByteArrayView file, bool system)
    : m_parts(splitAtLineEnds(file, kRuns))
    , m_parsed(m_parts.size())
    , m_readingThreadParser(system)
    , m_helperParser(system)
    , m_isParsed(m_parts.size())
{
    if (m_parts.size() > 1) {
        try {
            m_helper = std::jthread([this](std::stop_token stop) { parseAhead(stop); });
        } catch (const std::system_error &) {
            // No thread to be had (a process limit): every run is parsed here.
        }
    }
}

bool ParsedRuleRuns::parseNextRun(RuleLineParser &parser)
{
    const std::size_t index = m_nextToParse.fetch_add(1, std::memory_order_relaxed);
    if (index >= m_parts.size())
        return false;
    std::vector<ParsedRuleLine> lines = parser.parse(m_parts[index]);
    const std::lock_guard lock(m_mutex);
    m_parsed[index] = std::move(lines);
    m_isParsed[index] = true;
    m_parsedMore.notify_one();
    return true;
}

void ParsedRuleRuns::parseAhead(std::stop_token stop)
{
    while (!stop.stop_requested() && parseNextRun(m_helperParser)) {
    }
}

std::vector<ParsedRuleLine> &ParsedRuleRuns::run(std::size_t index)
{
    std::unique_lock lock(m_mutex);
    while (!m_isParsed[index]) {
        lock.unlock();
        const bool parsedOne = parseNextRun(m_readingThreadParser);
        lock.lock();
        if (!parsedOne)
            m_parsedMore.wait(lock, [this, index] { return bool(m_isParsed[index]); });
    }
    return m_parsed[index];
}
