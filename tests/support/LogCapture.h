#pragma once

#include "WaitUntil.h"

#include <QLoggingCategory>
#include <QMutex>
#include <QStringList>

// Records every log line of the product's categories (debug included) while it
// lives, from any thread, as "category: message".
class LogCapture
{
public:
    LogCapture()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("com.norvalis.*=true"));
        instance() = this;
        m_previous = qInstallMessageHandler(&LogCapture::record);
    }

    ~LogCapture()
    {
        qInstallMessageHandler(m_previous);
        instance() = nullptr;
        QLoggingCategory::setFilterRules(QString());
    }

    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    QStringList lines() const
    {
        QMutexLocker locker(&m_mutex);
        return m_lines;
    }

    // Lines that contain `text`.
    qsizetype count(const QString &text) const { return lines().filter(text).size(); }
    bool contains(const QString &text) const { return count(text) > 0; }
    bool waitFor(const QString &text, int timeoutMs = 5000) const
    {
        return waitUntil([&] { return contains(text); }, timeoutMs);
    }
    std::string dump() const { return lines().join(u'\n').toStdString(); }

private:
    static LogCapture *&instance()
    {
        static LogCapture *current = nullptr;
        return current;
    }

    static void record(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        if (LogCapture *capture = instance()) {
            QMutexLocker locker(&capture->m_mutex);
            capture->m_lines.append(QString::fromLatin1(context.category ? context.category : "default") +
                                    QStringLiteral(": ") + message);
            locker.unlock();
            if (capture->m_previous)
                capture->m_previous(type, context, message);
        }
    }

    QtMessageHandler m_previous = nullptr;
    mutable QMutex m_mutex;
    QStringList m_lines;
};
