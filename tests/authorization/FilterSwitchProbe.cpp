// Switches the filter off the way the application and quivenctl do, with a
// polkit authentication agent of its own that turns every prompt down, so a
// test can see whether polkit would have asked the user. `quiet` sends the
// same call without allowing interaction. Prints the action the agent was
// asked about ("-" when none) and the daemon's error name ("ok" on success).
#include "NVCQUIVENClient.h"
#include "NVCQUIVENDaemonProtocolProxy.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QDBusVirtualObject>
#include <QTextStream>
#include <unistd.h>

namespace {

const QString kAgentPath = QStringLiteral("/com/norvalis/test/PolkitAgent");

class RefusingAgent : public QDBusVirtualObject
{
public:
    QString askedAction = QStringLiteral("-");

    QString introspect(const QString &) const override { return {}; }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        if (message.member() == QLatin1String("BeginAuthentication")) {
            askedAction = message.arguments().value(0).toString();
            connection.send(message.createErrorReply(
                QStringLiteral("org.freedesktop.PolicyKit1.Error.Cancelled"), QStringLiteral("Turned down")));
        } else {
            connection.send(message.createReply());
        }
        return true;
    }
};

// Polkit finds an agent registered for the process behind the caller's bus name.
bool registerAgent(const QDBusConnection &bus)
{
    QDBusArgument subject;
    subject.beginStructure();
    subject << QStringLiteral("unix-process")
            << QVariantMap{{QStringLiteral("pid"), quint32(::getpid())},
                           {QStringLiteral("start-time"), quint64(0)}};
    subject.endStructure();
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.PolicyKit1"), QStringLiteral("/org/freedesktop/PolicyKit1/Authority"),
        QStringLiteral("org.freedesktop.PolicyKit1.Authority"),
        QStringLiteral("RegisterAuthenticationAgent"));
    call << QVariant::fromValue(subject) << QStringLiteral("C") << kAgentPath;
    const QDBusMessage reply = bus.call(call);
    if (reply.type() == QDBusMessage::ErrorMessage)
        QTextStream(stderr) << reply.errorName() << ": " << reply.errorMessage() << '\n';
    return reply.type() == QDBusMessage::ReplyMessage;
}

class SwitchingClient : public NVCQUIVENClient
{
public:
    explicit SwitchingClient(const QDBusConnection &bus)
        : NVCQUIVENClient(bus, QStringLiteral("NVCQUIVENDaemonProtocol"), NVCNamespace(QString()),
                          FilterClientStart::ProxyOnly, nullptr)
    {}

    QDBusPendingCall switchOff(bool interactive)
    {
        auto *daemon = daemonProxy();
        if (interactive)
            return switchFilterCall(*daemon, false, false);
        return daemon->setQUIVENEnabled(false, false);
    }
};

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QDBusConnection bus = QDBusConnection::systemBus();
    RefusingAgent agent;
    if (!bus.registerVirtualObject(kAgentPath, &agent) || !registerAgent(bus))
        return 1;
    SwitchingClient client(bus);
    auto *watcher = new QDBusPendingCallWatcher(
        client.switchOff(app.arguments().value(1) != QLatin1String("quiet")), &app);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &app, [&](QDBusPendingCallWatcher *call) {
        QTextStream(stdout) << agent.askedAction << ' '
                            << (call->isError() ? call->error().name() : QStringLiteral("ok")) << '\n';
        QCoreApplication::exit(0);
    });
    return app.exec();
}
