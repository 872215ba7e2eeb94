// Makes one call to a stand-in daemon, for tests that need a caller of
// another user (run under setpriv). Prints the error name, or "ok".
#include "DBusTypes.h"
#include "PolicyRule.h"
#include "RuleCoding.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QTextStream>

namespace {

QDBusMessage filterCall(const char *interface, const char *member)
{
    return QDBusMessage::createMethodCall(
        QStringLiteral("com.norvalis.nrquivend"), QStringLiteral("/com/norvalis/nrquivend"),
        QStringLiteral("com.norvalis.") + QLatin1String(interface), QString::fromLatin1(member));
}

QList<QVariantMap> oneRule()
{
    auto rule = std::make_shared<PolicyRule>();
    rule->setPath(QStringLiteral("/home/probe/"));
    rule->setProcessName(QStringLiteral("any"));
    rule->operations = 1;
    return quiven::dbus::archivePolicyRules({rule});
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    quiven::dbus::registerTypes();
    const QStringList args = app.arguments().mid(1);
    const QString command = args.value(0);
    QDBusMessage call;
    if (command == QLatin1String("enable"))
        (call = filterCall("NVCQUIVENDaemonProtocol", "setQUIVENEnabled"))
            << (args.value(1) == "true") << false;
    else if (command == QLatin1String("reload"))
        call = filterCall("NVCQUIVENDaemonProtocol", "reloadSystemRulesWithCallback");
    else if (command == QLatin1String("register"))
        call = filterCall("NVCQUIVENDaemonProtocol", "registerUserAgentWithCallback");
    else if (command == QLatin1String("delete-failsafe"))
        call = filterCall("NVCQUIVENDaemonProtocol", "deleteFailsafeLog");
    else if (command == QLatin1String("save"))
        (call = filterCall("NVCQUIVENDaemonRuleProtocol", "setUserWatchRules"))
            << QVariant::fromValue(QList<QVariantMap>()) << QVariant::fromValue(oneRule())
            << QByteArray::fromHex(args.value(1).toLatin1());
    else if (command == QLatin1String("ruleset")) {
        call = QDBusMessage::createMethodCall(QStringLiteral("com.norvalis.nrsettingsd"),
                                              QStringLiteral("/com/norvalis/nrsettingsd"),
                                              QStringLiteral("com.norvalis.nrsettingsdAuthorizedProtocol"),
                                              QStringLiteral("setQUIVENSystemRuleSetWithAuthorization"));
        const QVariantMap reference{
            {QStringLiteral("AuthorizationRef"), QByteArray::fromHex(args.value(2).toLatin1())}};
        call << QVariantMap{{QStringLiteral("AuthorizationRefHolder"), reference}}
             << args.value(1).toULongLong();
    } else
        return 2;

    const QDBusMessage reply = QDBusConnection::systemBus().call(call);
    QTextStream(stdout) << (reply.type() == QDBusMessage::ErrorMessage ? reply.errorName()
                                                                       : QStringLiteral("ok"))
                        << '\n';
    return 0;
}
