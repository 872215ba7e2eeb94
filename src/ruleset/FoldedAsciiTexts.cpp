#include "FoldedAsciiTexts.h"

#include <algorithm>
#include <cstring>
#include <limits>

bool FoldedAsciiTexts::append(QStringView text, quint32 owner)
{
    const qsizetype start = m_bytes.size();
    if (text.isNull() || std::size_t(start) + std::size_t(text.size()) >= std::numeric_limits<quint32>::max())
        return false;
    m_bytes.resize(start + text.size() + 1);
    char *out = m_bytes.data() + start;
    for (const QChar c : text) {
        const char16_t unit = c.unicode();
        if (unit == 0 || unit >= 0x80) {
            m_bytes.truncate(start);
            return false;
        }
        *out++ = char((unit >= u'A' && unit <= u'Z') ? unit | 0x20 : unit);
    }
    *out = '\0';
    m_starts.push_back(quint32(start));
    m_owners.push_back(owner);
    return true;
}

void FoldedAsciiTexts::makeRoomForOwner(quint32 owner)
{
    for (quint32 &each : m_owners) {
        if (each != kNoOwner && each >= owner)
            ++each;
    }
}

void FoldedAsciiTexts::removeOwner(quint32 owner)
{
    for (quint32 &each : m_owners) {
        if (each == owner)
            each = kNoOwner;
        else if (each != kNoOwner && each > owner)
            --each;
    }
}

std::vector<bool> FoldedAsciiTexts::hits(const QByteArray &needle, std::size_t owners) const
{
    std::vector<bool> found(owners);
    if (needle.isEmpty())
        return found;
    const char *blob = m_bytes.constData();
    const std::size_t size = std::size_t(m_bytes.size());
    std::size_t at = 0;
    while (at < size) {
        const void *hit = memmem(blob + at, size - at, needle.constData(), std::size_t(needle.size()));
        if (!hit)
            break;
        const auto offset = std::size_t(static_cast<const char *>(hit) - blob);
        // The text holding the hit: the last one starting at or before it.
        const auto next = std::upper_bound(m_starts.cbegin(), m_starts.cend(), offset);
        const quint32 owner = m_owners[std::size_t(next - m_starts.cbegin()) - 1];
        if (owner != kNoOwner)
            found[owner] = true;
        at = next == m_starts.cend() ? size : *next;
    }
    return found;
}
