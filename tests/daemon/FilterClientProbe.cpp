// A filter daemon client in its own process, so that a test can run it as
// another user: prints "subscribed" once the daemon took its terminate
// subscription and "terminated" when the daemon's terminate call arrived.
#include "NVCQUIVENClient.h"

#include <QCoreApplication>
#include <QTimer>
#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    NVCQUIVENClient client(QDBusConnection::systemBus(), NVCNamespace(QString()));
    bool announced = false;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &app, [&] {
        if (!announced &&
            client.isSubscriptionAlive(QString::fromLatin1(NVCQUIVENClient::terminationProtocol))) {
            announced = true;
            std::puts("subscribed");
            std::fflush(stdout);
        }
        if (client.serviceTerminated()) {
            std::puts("terminated");
            std::fflush(stdout);
            QCoreApplication::exit(0);
        }
    });
    poll.start(20);
    QTimer::singleShot(20000, &app, [] { QCoreApplication::exit(1); });
    return app.exec();
}
