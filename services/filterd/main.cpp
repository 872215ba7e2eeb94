#include "AuthorityChangeGate.h"
#include "FilterDaemon.h"
#include "PrivilegedChangeGate.h"
#include "ServiceRuntime.h"
#include "ShutdownSignals.h"
#include "logging/JournalMessageHandler.h"

#include <QCommandLineParser>
#include <QCoreApplication>

int main(int argc, char **argv)
{
    quiven::logging::installJournalMessageHandler();
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Filter daemon stand-in"));
    parser.addHelpOption();
    const QCommandLineOption insecureDev = insecureDevOption();
    parser.addOption(insecureDev);
    parser.process(app);

    QString error;
    QDBusConnection bus = QDBusConnection::systemBus();
    auto gate = makeDaemonChangeGate(parser.isSet(insecureDev), bus, &error);
    if (!gate) {
        qCritical("%s", qUtf8Printable(error));
        return 2;
    }
    FilterDaemon daemon(bus, std::move(gate));
    if (!daemon.exportOn(&error) ||
        !quiven::service::claimName(bus, QString::fromLatin1(quiven::dbus::kFilterServiceName), &error)) {
        qCritical("%s", qUtf8Printable(error));
        return 1;
    }
    quiven::service::installShutdownHandler(&daemon, [&daemon] { daemon.announceTermination(); });
    return app.exec();
}
