#pragma once

#include <QStringView>
#include <QtGlobal>
#include <cstring>

// A hash of bytes for the ruleset's own tables, which hash several fields of
// every rule read: eight bytes per multiply, a few times cheaper than the
// library's hash of a text. Seeded per process like the library's.
namespace TextHash {

inline quint64 mixWord(quint64 hash, quint64 word)
{
    hash = (hash ^ word) * 0x9E3779B97F4A7C15ULL;
    return hash ^ (hash >> 32);
}

inline quint64 finish(quint64 hash)
{
    hash ^= hash >> 33;
    hash *= 0xFF51AFD7ED558CCDULL;
    return hash ^ (hash >> 33);
}

// Unfinished: more words may be mixed in before finish().
inline quint64 mixBytes(const void *data, std::size_t size, quint64 seed)
{
    const auto *bytes = static_cast<const unsigned char *>(data);
    quint64 hash = seed ^ size;
    for (; size >= 8; bytes += 8, size -= 8) {
        quint64 word;
        std::memcpy(&word, bytes, sizeof word);
        hash = mixWord(hash, word);
    }
    if (size > 0) {
        quint64 word = 0;
        for (std::size_t i = 0; i < size; ++i)
            word |= quint64(bytes[i]) << (8 * i);
        hash = mixWord(hash, word);
    }
    return hash;
}

inline quint64 ofBytes(const void *data, std::size_t size, quint64 seed)
{
    return finish(mixBytes(data, size, seed));
}

inline quint64 ofUnits(QStringView text, quint64 seed)
{
    return ofBytes(text.utf16(), std::size_t(text.size()) * sizeof(char16_t), seed);
}

} // namespace TextHash
