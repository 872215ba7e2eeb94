#include "AuthorityChangeGate.h"
#include "FilterDaemon.h"
#include "PrivilegedChangeGate.h"
#include "ServiceRuntime.h"
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
    const QCommandLineOption insecureDev(
        QStringLiteral("insecure-dev"),
        QStringLiteral("Allow every privileged change (private buses only)."));
    parser.addOption(insecureDev);
    parser.process(app);

    QString error;
    QDBusConnection bus = QDBusConnection::systemBus();
    // Privileged changes are checked with the authority unless a private bus explicitly opts out.
    auto gate = parser.isSet(insecureDev) ? makeChangeGate(true, &error) : makeAuthorityChangeGate(bus);
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
