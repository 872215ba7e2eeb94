#pragma once

#include <QString>
#include <QStringView>

// A record's path. A reader may place the text in the storage of the records
// it makes, without a heap block of its own; such text lives exactly as long
// as its record. Copies made of it, as a text or with the record, own their
// characters, so none can outlive that storage.
class RecordPath
{
public:
    RecordPath() = default;
    RecordPath(const RecordPath &other)
        : m_text(other.text())
    {}
    RecordPath &operator=(const RecordPath &other)
    {
        m_text = other.text();
        return *this;
    }

    QString text() const
    {
        // Text without a block of its own is copied: it may be the reader's.
        return m_text.isNull() || m_text.data_ptr().isMutable() ? m_text
                                                                : QString(m_text.constData(), m_text.size());
    }
    QStringView view() const { return m_text; }
    void set(const QString &text) { m_text = text; }
    void setKeptWithRecord(QStringView text) { m_text = QString::fromRawData(text.data(), text.size()); }

private:
    QString m_text;
};
