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

void stderrHandler(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    const QByteArray line = qFormatLogMessage(type, context, message).toLocal8Bit();
    std::fprintf(stderr, "%s\n", line.constData());
    std::fflush(stderr);
    if (type == QtFatalMsg)
        std::abort();
}

} // namespace

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
