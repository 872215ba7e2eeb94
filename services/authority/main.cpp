#include "AuthorityService.h"
#include "DevAuthorizationBackend.h"
#include "PolkitAuthorizationBackend.h"
#include "ShutdownSignals.h"
#include "SystemBusAddress.h"
#include "logging/JournalMessageHandler.h"
#include "nrauthdadaptor.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcAuthorityMain, "com.norvalis.quiven-authd")

namespace {

// How long a grant lasts without being renewed; the same as polkit keeps an
// administrator authentication.
constexpr int kDefaultLifetimeSeconds = 300;

std::unique_ptr<AuthorizationBackend> makeBackend(bool development, const QDBusConnection &bus)
{
    if (!development)
        return std::make_unique<PolkitAuthorizationBackend>(bus);
    if (quiven::service::isMachineSystemBus(qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS"))) {
        qCCritical(lcAuthorityMain) << "The development backend runs only on a private bus named by "
                                       "DBUS_SYSTEM_BUS_ADDRESS, never on the machine's system bus";
        return nullptr;
    }
    const QString setting = qEnvironmentVariable("QUIVEN_DEV_AUTH");
    const std::optional<OSStatus> answer = DevAuthorizationBackend::answerFor(setting);
    if (!answer) {
        qCCritical(lcAuthorityMain) << "QUIVEN_DEV_AUTH must be grant, deny or cancel, not" << setting;
        return nullptr;
    }
    qCInfo(lcAuthorityMain) << "Development backend answers every request with status" << *answer;
    return std::make_unique<DevAuthorizationBackend>(*answer);
}

} // namespace

int main(int argc, char **argv)
{
    quiven::logging::installJournalMessageHandler();
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quiven-authd"));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Grants and checks QUIVEN administrator authorizations."));
    parser.addHelpOption();
    const QCommandLineOption devBackend(
        QStringLiteral("dev-backend"),
        QStringLiteral("Answer as QUIVEN_DEV_AUTH says instead of asking polkit "
                       "(private buses only)."));
    const QCommandLineOption lifetime(QStringLiteral("token-lifetime"),
                                      QStringLiteral("Seconds an authorization lasts without renewal."),
                                      QStringLiteral("seconds"), QString::number(kDefaultLifetimeSeconds));
    parser.addOptions({devBackend, lifetime});
    parser.process(app);

    bool lifetimeOk = false;
    const int lifetimeSeconds = parser.value(lifetime).toInt(&lifetimeOk);
    if (!lifetimeOk || lifetimeSeconds <= 0) {
        qCCritical(lcAuthorityMain) << "--token-lifetime needs a positive number of seconds";
        return 2;
    }

    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        qCCritical(lcAuthorityMain) << "Cannot connect to the system bus:" << bus.lastError().message();
        return 1;
    }
    std::unique_ptr<AuthorizationBackend> backend = makeBackend(parser.isSet(devBackend), bus);
    if (!backend)
        return 1;

    AuthorityService service(std::move(backend),
                             std::make_unique<TokenStore>(std::chrono::seconds(lifetimeSeconds)));
    new NVCAuthorityProtocolAdaptor(&service);
    if (!bus.registerObject(QString::fromLatin1(kNVCAuthorityPath), &service)) {
        qCCritical(lcAuthorityMain) << "Cannot export" << kNVCAuthorityPath;
        return 1;
    }
    if (!bus.registerService(QString::fromLatin1(kNVCAuthorityService))) {
        qCCritical(lcAuthorityMain) << "Cannot own" << kNVCAuthorityService << bus.lastError().message();
        return 1;
    }
    quiven::service::installShutdownHandler(&service, [] {});
    qCInfo(lcAuthorityMain) << "Authority ready on" << kNVCAuthorityService;
    return app.exec();
}
