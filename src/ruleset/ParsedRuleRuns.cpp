#include "ParsedRuleRuns.h"

#include <system_error>

namespace {

// The reading thread parses this share of the file before it starts taking
// lines into the store; taking costs about as much as parsing, so the helper
// keeps ahead of it with the rest.
constexpr double kFirstRunShare = 0.25;
// The rest in runs small enough that the reading thread rarely waits for one.
constexpr int kLaterRuns = 12;

} // namespace

ParsedRuleRuns::ParsedRuleRuns(QByteArrayView file, bool system)
    : m_firstRunParser(system)
    , m_laterRunsParser(system)
{
    const auto [first, rest] = cutAtLineEnd(file, kFirstRunShare);
    m_parts.push_back(first);
    if (!rest.isEmpty()) {
        for (const QByteArrayView part : splitAtLineEnds(rest, kLaterRuns))
            m_parts.push_back(part);
    }
    m_parsed.resize(m_parts.size());
    if (m_parts.size() > 1) {
        try {
            m_helper = std::jthread([this](std::stop_token stop) { parseAhead(stop); });
        } catch (const std::system_error &) {
            // No thread to be had (a process limit): every run is parsed here.
        }
    }
}

void ParsedRuleRuns::parseAhead(std::stop_token stop)
{
    for (std::size_t index = 1; index < m_parts.size() && !stop.stop_requested(); ++index) {
        std::vector<ParsedRuleLine> lines = m_laterRunsParser.parse(m_parts[index]);
        const std::lock_guard lock(m_mutex);
        m_parsed[index] = std::move(lines);
        m_parsedAhead = index + 1;
        m_parsedMore.notify_one();
    }
}

std::vector<ParsedRuleLine> &ParsedRuleRuns::run(std::size_t index)
{
    if (index == 0) {
        m_parsed[0] = m_firstRunParser.parse(m_parts[0]);
    } else if (m_helper.joinable()) {
        std::unique_lock lock(m_mutex);
        m_parsedMore.wait(lock, [this, index] { return m_parsedAhead > index; });
    } else {
        m_parsed[index] = m_laterRunsParser.parse(m_parts[index]);
    }
    return m_parsed[index];
}
