#pragma once

#include <QDBusError>
#include <QEventLoop>
#include <QString>

// The daemon and settings commands call asynchronous clients from a tool that
// has no running event loop; this waits for the one answer they need.
namespace quivenctl {

// D-Bus gives up on a call after 25 s; a little more lets its own error arrive first.
constexpr int kDaemonAnswerTimeoutMs = 30000;

class DaemonAnswer
{
public:
    // Marks the answer as arrived; safe to call before wait().
    void arrived();
    // Runs the event loop until arrived() or the time is up; false on time-out.
    bool wait(int timeoutMs = kDaemonAnswerTimeoutMs);

private:
    QEventLoop m_loop;
    bool m_arrived = false;
};

// Prints "quivenctl: <text>" to stderr and returns ExitFailure.
int daemonFailure(const QString &text);
int daemonFailure(const QDBusError &error);

} // namespace quivenctl
