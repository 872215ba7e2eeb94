#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <utility>

// Runs the event loop until the condition holds or the time is up.
inline bool waitUntil(const std::function<bool()> &condition, int timeoutMs = 5000)
{
    QDeadlineTimer deadline(timeoutMs);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(1);
    }
    return true;
}

// Hands `call` a callback that keeps the first value it is given, and waits
// for it; empty when the callback did not run in time.
template <typename Value, typename Call> std::optional<Value> answerOf(Call &&call, int timeoutMs = 5000)
{
    const auto answer = std::make_shared<std::optional<Value>>();
    call([answer](Value value, auto &&...) { *answer = std::move(value); });
    waitUntil([&] { return answer->has_value(); }, timeoutMs);
    return *answer;
}

// The same for a call made from a worker thread that is gone before the
// answer comes, with the thread the answer came on.
template <typename Value, typename Call>
std::optional<std::pair<Value, QThread *>> answerOfWorkerCall(Call &&call, int timeoutMs = 5000)
{
    const auto answer = std::make_shared<std::optional<std::pair<Value, QThread *>>>();
    std::thread([&] {
        call([answer](Value value, auto &&...) {
            *answer = std::pair(std::move(value), QThread::currentThread());
        });
    }).join();
    waitUntil([&] { return answer->has_value(); }, timeoutMs);
    return *answer;
}
