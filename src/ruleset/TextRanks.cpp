#include "TextRanks.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

namespace {

struct Entry
{
    const char16_t *text;
    // The units at the depth being sorted on: partitions at one depth read
    // them many times, and the texts lie scattered over the heap.
    quint64 key;
    quint32 size;
    quint32 index;

    // Four units from `depth` as one number in their order, missing units as
    // 0: a text ending within them ties with one holding 0 there.
    quint64 keyAt(qsizetype depth) const
    {
        quint64 units = 0;
        if (depth + kKeyUnits <= size) {
            std::memcpy(&units, text + depth, sizeof units);
            if constexpr (std::endian::native == std::endian::little) {
                units = (units & 0x0000FFFF0000FFFFULL) << 16 | ((units >> 16) & 0x0000FFFF0000FFFFULL);
                units = units << 32 | units >> 32;
            }
            return units;
        }
        for (qsizetype at = depth; at < depth + kKeyUnits; ++at)
            units = units << 16 | (at < size ? quint64(text[at]) : 0);
        return units;
    }
    std::u16string_view from(qsizetype depth) const { return {text + depth, std::size_t(size - depth)}; }

    static constexpr qsizetype kKeyUnits = sizeof(quint64) / sizeof(char16_t);
};

constexpr std::ptrdiff_t kSmallRun = 12;

// Sorts entries that share their first `depth` units and hold the keys at
// `depth` (multikey quicksort: three-way partitions on a few units at a time).
void sortFromDepth(Entry *begin, Entry *end, qsizetype depth)
{
    while (end - begin > 1) {
        if (end - begin <= kSmallRun) {
            std::sort(begin, end, [depth](const Entry &a, const Entry &b) {
                return a.key != b.key ? a.key < b.key : a.from(depth) < b.from(depth);
            });
            return;
        }
        const quint64 first = begin->key;
        const quint64 middle = begin[(end - begin) / 2].key;
        const quint64 last = end[-1].key;
        const quint64 pivot = std::max(std::min(first, middle), std::min(std::max(first, middle), last));

        Entry *less = begin;
        Entry *at = begin;
        Entry *greater = end;
        while (at < greater) {
            if (at->key < pivot)
                std::swap(*less++, *at++);
            else if (at->key > pivot)
                std::swap(*at, *--greater);
            else
                ++at;
        }
        sortFromDepth(begin, less, depth);
        sortFromDepth(greater, end, depth);
        if ((pivot & 0xFFFF) == 0) {
            // Texts of the equal run ending within the key are prefixes of the
            // others and of each other: shorter first, and the rest go on.
            Entry *ended = std::partition(
                less, greater, [depth](const Entry &entry) { return entry.size < depth + Entry::kKeyUnits; });
            std::sort(less, ended, [](const Entry &a, const Entry &b) { return a.size < b.size; });
            less = ended;
        }
        begin = less;
        end = greater;
        depth += Entry::kKeyUnits;
        for (Entry *entry = begin; entry < end; ++entry)
            entry->key = entry->keyAt(depth);
    }
}

template <typename Text> std::vector<Entry> sortedEntries(const std::vector<Text> &texts)
{
    std::vector<Entry> entries;
    entries.reserve(texts.size());
    for (std::size_t i = 0; i < texts.size(); ++i) {
        Entry entry{reinterpret_cast<const char16_t *>(texts[i].constData()), 0, quint32(texts[i].size()),
                    quint32(i)};
        entry.key = entry.keyAt(0);
        entries.push_back(entry);
    }
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
