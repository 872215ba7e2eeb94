#include "ShutdownSignals.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace quiven::service {
namespace {

int g_signalPipe[2] = {-1, -1};

void forwardSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(g_signalPipe[1], &byte, 1);
}

} // namespace

void installShutdownHandler(QObject *context, std::function<void()> onShutdown)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_signalPipe) != 0)
        return;
    auto *notifier = new QSocketNotifier(g_signalPipe[0], QSocketNotifier::Read, context);
    QObject::connect(notifier, &QSocketNotifier::activated, context, [notifier, onShutdown] {
        notifier->setEnabled(false);
        onShutdown();
        QCoreApplication::quit();
    });
    struct sigaction action = {};
    action.sa_handler = forwardSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGINT, &action, nullptr);
}

} // namespace quiven::service
