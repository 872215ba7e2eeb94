#include "ServiceRuntime.h"

#include "NVCNamespace.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
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

bool claimName(const QDBusConnection &bus, const QString &serviceName, QString *error)
{
    if (!bus.isConnected()) {
        *error = QStringLiteral("cannot connect to the system bus: ") + bus.lastError().message();
        return false;
    }
    const QString name = NVCNamespace::namespacedWithId(serviceName);
    const auto reply = bus.interface()->registerService(name, QDBusConnectionInterface::DontQueueService,
                                                        QDBusConnectionInterface::DontAllowReplacement);
    if (!reply.isValid() || reply.value() != QDBusConnectionInterface::ServiceRegistered) {
        *error = QStringLiteral("cannot own %1: %2").arg(name, reply.error().message());
        return false;
    }
    return true;
}

void installShutdownHandler(QObject *context, std::function<void()> onShutdown)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, g_signalPipe) != 0)
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
