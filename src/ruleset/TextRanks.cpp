#include "TextRanks.h"

#include <algorithm>
#include <string_view>

namespace {

struct Entry
{
    const char16_t *text;
    qsizetype size;
    std::size_t index;

    // The unit at `depth`, or -1 past the end, which sorts first.
    int unitAt(qsizetype depth) const { return depth < size ? int(text[depth]) : -1; }
    std::u16string_view from(qsizetype depth) const { return {text + depth, std::size_t(size - depth)}; }
};

constexpr std::ptrdiff_t kSmallRun = 12;

// Sorts entries that share their first `depth` units (multikey quicksort:
// three-way partitions on one unit at a time).
void sortFromDepth(Entry *begin, Entry *end, qsizetype depth)
{
    while (end - begin > 1) {
        if (end - begin <= kSmallRun) {
            std::sort(begin, end,
                      [depth](const Entry &a, const Entry &b) { return a.from(depth) < b.from(depth); });
            return;
        }
        const int first = begin->unitAt(depth);
        const int middle = begin[(end - begin) / 2].unitAt(depth);
        const int last = end[-1].unitAt(depth);
        const int pivot = std::max(std::min(first, middle), std::min(std::max(first, middle), last));

        Entry *less = begin;
        Entry *at = begin;
        Entry *greater = end;
        while (at < greater) {
            const int unit = at->unitAt(depth);
            if (unit < pivot)
                std::swap(*less++, *at++);
            else if (unit > pivot)
                std::swap(*at, *--greater);
            else
                ++at;
        }
        sortFromDepth(begin, less, depth);
        sortFromDepth(greater, end, depth);
        if (pivot < 0)
            return; // the equal run ended at this depth: its texts are equal
        begin = less;
        end = greater;
        ++depth;
    }
}

template <typename Text> std::vector<Entry> sortedEntries(const std::vector<Text> &texts)
{
    std::vector<Entry> entries;
    entries.reserve(texts.size());
    for (std::size_t i = 0; i < texts.size(); ++i)
        entries.push_back({reinterpret_cast<const char16_t *>(texts[i].constData()), texts[i].size(), i});
    sortFromDepth(entries.data(), entries.data() + entries.size(), 0);
    return entries;
}

} // namespace

std::vector<qint64> denseRanks(const std::vector<QString> &texts)
{
    const std::vector<Entry> entries = sortedEntries(texts);
    std::vector<qint64> ranks(texts.size());
    qint64 rank = 0;
    for (std::size_t at = 0; at < entries.size(); ++at) {
        if (at > 0 && entries[at].from(0) != entries[at - 1].from(0))
            ++rank;
        ranks[entries[at].index] = rank;
    }
    return ranks;
}

std::vector<std::size_t> codeUnitOrder(const std::vector<QStringView> &texts)
{
    const std::vector<Entry> entries = sortedEntries(texts);
    std::vector<std::size_t> order;
    order.reserve(entries.size());
    for (const Entry &entry : entries)
        order.push_back(entry.index);
    return order;
}
