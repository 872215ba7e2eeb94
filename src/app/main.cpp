#include "AppDelegate.h"
#include "CustomizedTranslations.h"
#include "NVCRuleManager.h"
#include "UiTranslations.h"
#include "logging/JournalMessageHandler.h"

#include <QApplication>
#include <QCommandLineParser>

int main(int argc, char **argv)
{
    quiven::logging::installJournalMessageHandler();
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("quiven-config"));
    QApplication::setApplicationVersion(QStringLiteral(QUIVEN_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("com.norvalis.QUIVENConfiguration"));
    installCustomizedTranslations();
    installUiTranslations();

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Shows and edits the rules of the QUIVEN file-access firewall."));
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addOption({QStringLiteral("settings"), QStringLiteral("Show only the preferences.")});
    parser.process(application);

    // The application decides itself when to end: quitting may wait for a rule reload.
    QApplication::setQuitOnLastWindowClosed(false);
    AppDelegate delegate(QDBusConnection::systemBus(), NVCRuleManager::shared(), QApplication::arguments());
    QObject::connect(&delegate, &AppDelegate::terminate, &application, &QApplication::quit);
    delegate.applicationDidFinishLaunching();
    return QApplication::exec();
}
