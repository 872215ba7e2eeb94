#pragma once

#include <QByteArray>
#include <QString>
#include <vector>

// Plain-ASCII texts lowered into one byte blob, each ended by a NUL, so that
// searching many texts is one pass over contiguous bytes. Texts holding other
// units stay out and keep the full folding search.
class FoldedAsciiTexts
{
public:
    // Adds `text` as belonging to `owner`; false, adding nothing, for a null
    // text, a unit that is not ASCII or is NUL, or a full blob.
    bool append(QStringView text, quint32 owner);
    // Owners numbered `owner` and above move one up, making room for a new one.
    void makeRoomForOwner(quint32 owner);
    // `owner`'s text no longer counts, and the owners above it move one down.
    // Its bytes stay until the texts are built afresh.
    void removeOwner(quint32 owner);

    // Per owner below `owners`: whether `needle`, lowered ASCII, occurs in its text.
    std::vector<bool> hits(const QByteArray &needle, std::size_t owners) const;

private:
    QByteArray m_bytes;
    std::vector<quint32> m_starts; // offset of each text, ascending
    static constexpr quint32 kNoOwner = 0xFFFFFFFF;
    std::vector<quint32> m_owners; // owner of each text, or kNoOwner
};
