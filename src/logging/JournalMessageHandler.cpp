#include "JournalMessageHandler.h"

#include <QByteArray>
#include <QFileInfo>
#include <QString>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <systemd/sd-journal.h>

namespace quiven::logging {

namespace {

const char *const journalSocket = "/run/systemd/journal/socket";

int syslogPriority(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return 7;
    case QtInfoMsg:
        return 6;
    case QtWarningMsg:
        return 4;
    case QtCriticalMsg:
        return 3;
    case QtFatalMsg:
        return 2;
    }
    return 6;
}

void journalHandler(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    const QByteArray text = message.toUtf8();
    const char *category = context.category ? context.category : "default";
    sd_journal_send("MESSAGE=%s", text.constData(), "PRIORITY=%d", syslogPriority(type), "QT_CATEGORY=%s",
                    category, "SYSLOG_IDENTIFIER=%s", program_invocation_short_name, nullptr);
    if (type == QtFatalMsg)
        std::abort();
}

bool isControlCharacter(char16_t c)
{
    return c < 0x20 || (c >= 0x7f && c <= 0x9f) || c == 0x2028 || c == 0x2029;
}

void stderrHandler(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    const QByteArray line = qFormatLogMessage(type, context, escapeControlCharacters(message)).toLocal8Bit();
    std::fprintf(stderr, "%s\n", line.constData());
    std::fflush(stderr);
    if (type == QtFatalMsg)
        std::abort();
}

} // namespace

QString escapeControlCharacters(const QString &text)
{
    QString escaped;
    escaped.reserve(text.size());
    for (const QChar c : text) {
        if (!isControlCharacter(c.unicode())) {
            escaped += c;
            continue;
        }
        switch (c.unicode()) {
        case u'\n':
            escaped += QLatin1String("\\n");
            break;
        case u'\r':
            escaped += QLatin1String("\\r");
            break;
        case u'\t':
            escaped += QLatin1String("\\t");
            break;
        default:
            escaped += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
        }
    }
    return escaped;
}

bool journalIsReachable()
{
    return QFileInfo(QString::fromLatin1(journalSocket)).exists();
}

void installJournalMessageHandler()
{
    qSetMessagePattern(QStringLiteral("%{time hh:mm:ss.zzz} %{type} %{category}: %{message}"));
    qInstallMessageHandler(journalIsReachable() ? journalHandler : stderrHandler);
}

} // namespace quiven::logging
