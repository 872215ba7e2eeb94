#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <cstring>

// Builds a fixed-size binary record field by field at its byte offsets.
class ByteRecord
{
public:
    explicit ByteRecord(qsizetype size)
        : bytes(size, '\0')
    {}

    template <typename T> ByteRecord &put(qsizetype offset, T value)
    {
        std::memcpy(bytes.data() + offset, &value, sizeof value);
        return *this;
    }
    ByteRecord &putText(qsizetype offset, QByteArrayView text)
    {
        std::memcpy(bytes.data() + offset, text.data(), size_t(text.size()));
        return *this;
    }

    QByteArray bytes;
};
