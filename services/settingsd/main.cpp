#include "AuthorityChangeGate.h"
#include "DBusTypes.h"
#include "PrivilegedChangeGate.h"
#include "ServiceRuntime.h"
#include "SettingsDaemon.h"
#include "ShutdownSignals.h"
#include "logging/JournalMessageHandler.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>

int main(int argc, char **argv)
{
    quiven::logging::installJournalMessageHandler();
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Settings daemon stand-in"));
    parser.addHelpOption();
    const QCommandLineOption insecureDev = insecureDevOption();
    const QCommandLineOption stateDir(QStringLiteral("state-dir"),
                                      QStringLiteral("Folder of the settings file."), QStringLiteral("DIR"),
                                      QStringLiteral("/var/lib/quiven/settingsd"));
    parser.addOptions({insecureDev, stateDir});
    parser.process(app);

    QString error;
    QDBusConnection bus = QDBusConnection::systemBus();
    auto gate = makeDaemonChangeGate(parser.isSet(insecureDev), bus, &error);
    if (!gate) {
        qCritical("%s", qUtf8Printable(error));
        return 2;
    }
    SettingsDaemon daemon(bus, QDir(parser.value(stateDir)).absolutePath(), std::move(gate));
    if (!daemon.exportOn(&error) ||
        !quiven::service::claimName(bus, QString::fromLatin1(quiven::dbus::kSettingsServiceName), &error)) {
        qCritical("%s", qUtf8Printable(error));
        return 1;
    }
    quiven::service::installShutdownHandler(&daemon, [] {});
    return app.exec();
}
