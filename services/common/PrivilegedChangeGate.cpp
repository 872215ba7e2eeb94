#include "PrivilegedChangeGate.h"

#include "SystemBusAddress.h"

#include <QDBusArgument>

bool InsecureDevChangeGate::allow(const QByteArray &, uint, QString *)
{
    return true;
}

void InsecureDevChangeGate::authorizeCaller(const QString &, CallerRight, bool, const CallerDecision &done)
{
    done(true, QString());
}

namespace {

QVariantMap asMap(const QVariant &value)
{
    if (value.canConvert<QDBusArgument>())
        return qdbus_cast<QVariantMap>(value.value<QDBusArgument>());
    return value.toMap();
}

} // namespace

QByteArray externalFormFromHolder(const QVariantMap &holderArchive)
{
    const QVariantMap reference = asMap(holderArchive.value(QStringLiteral("AuthorizationRefHolder")));
    const QVariant form = reference.value(QStringLiteral("AuthorizationRef"));
    return form.typeId() == QMetaType::QByteArray ? form.toByteArray() : QByteArray();
}

QCommandLineOption insecureDevOption()
{
    return QCommandLineOption(QStringLiteral("insecure-dev"),
                              QStringLiteral("Allow every privileged change (private buses only)."));
}

std::unique_ptr<PrivilegedChangeGate> makeInsecureDevChangeGate(QString *error)
{
    const QString address = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
    if (quiven::service::isMachineSystemBus(address)) {
        *error = QStringLiteral("--insecure-dev needs DBUS_SYSTEM_BUS_ADDRESS naming a private bus");
        return nullptr;
    }
    return std::make_unique<InsecureDevChangeGate>();
}
