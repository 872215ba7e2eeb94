#include "PrivilegedChangeGate.h"

#include <QDBusArgument>
#include <QFileInfo>

bool InsecureDevChangeGate::allow(const QByteArray &, uint, QString *)
{
    return true;
}

namespace {

QVariantMap asMap(const QVariant &value)
{
    if (value.canConvert<QDBusArgument>())
        return qdbus_cast<QVariantMap>(value.value<QDBusArgument>());
    return value.toMap();
}

bool namesRealSystemBus(const QString &address)
{
    for (const QString &part : address.split(QLatin1Char(';'))) {
        const qsizetype pathAt = part.indexOf(QStringLiteral("path="));
        if (pathAt < 0)
            continue;
        const QString path = part.mid(pathAt + 5).section(QLatin1Char(','), 0, 0);
        if (QFileInfo(path).canonicalFilePath() ==
            QFileInfo(QStringLiteral("/run/dbus/system_bus_socket")).canonicalFilePath())
            return true;
    }
    return false;
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
    if (address.isEmpty() || namesRealSystemBus(address)) {
        *error = QStringLiteral("--insecure-dev needs DBUS_SYSTEM_BUS_ADDRESS naming a private bus");
        return nullptr;
    }
    return std::make_unique<InsecureDevChangeGate>();
}
