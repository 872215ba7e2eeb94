#include "DaemonAnswer.h"

#include "CommandLine.h"

#include <QTimer>
#include <cstdio>

namespace quivenctl {

void DaemonAnswer::arrived()
{
    m_arrived = true;
    m_loop.quit();
}

bool DaemonAnswer::wait(int timeoutMs)
{
    if (!m_arrived) {
        QTimer::singleShot(timeoutMs, &m_loop, &QEventLoop::quit);
        m_loop.exec();
    }
    return m_arrived;
}

int daemonFailure(const QString &text)
{
    std::fprintf(stderr, "quivenctl: %s\n", qUtf8Printable(text));
    return ExitFailure;
}

int daemonFailure(const QDBusError &error)
{
    return daemonFailure(error.message().isEmpty() ? error.name() : error.message());
}

} // namespace quivenctl
