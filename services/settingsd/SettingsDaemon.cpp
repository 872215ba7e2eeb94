#include "SettingsDaemon.h"

#include "CallerIdentity.h"
#include "DBusTypes.h"
#include "ProductFolders.h"
#include "nrsettingsdAuthorizedProtocolAdaptor.h"
#include "nrsettingsdNotificationsAdaptor.h"
#include "nrsettingsdProtocolAdaptor.h"

#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QSaveFile>

Q_LOGGING_CATEGORY(lcSettingsDaemon, "com.norvalis.SettingsDaemon")

namespace {

QVariantMap defaultSettings()
{
    return {{QStringLiteral("quiven-enabled"), true},
            {QStringLiteral("quiven-system-ruleset-in-use"), 0},
            {QStringLiteral("quiven-learning-mode"), false},
            {QStringLiteral("quiven-advanced-mode"), false},
            {QStringLiteral("quiven-policy-save-no-admins"), false}};
}

} // namespace

SettingsDaemon::SettingsDaemon(const QDBusConnection &bus, const QString &stateDirectory,
                               std::unique_ptr<PrivilegedChangeGate> gate, QObject *parent)
    : QObject(parent)
    , m_bus(bus)
    , m_stateDirectory(stateDirectory)
    , m_gate(std::move(gate))
    , m_systemSettings(defaultSettings())
{
    quiven::dbus::registerTypes();
    new NrsettingsdProtocolAdaptor(this);
    new NrsettingsdAuthorizedProtocolAdaptor(this);
    new NrsettingsdNotificationsAdaptor(this);
    QFile file(settingsFile());
    if (file.open(QIODevice::ReadOnly)) {
        const QVariantMap stored = QJsonDocument::fromJson(file.readAll()).object().toVariantMap();
        // Only known keys with the type of their default are taken; anything else is ignored.
        for (auto it = stored.begin(); it != stored.end(); ++it)
            if (m_systemSettings.contains(it.key()) &&
                it.value().canConvert(m_systemSettings[it.key()].metaType()))
                m_systemSettings[it.key()] = it.value().value<QVariant>().toJsonValue().toVariant();
        m_systemSettings[QStringLiteral("quiven-system-ruleset-in-use")] =
            m_systemSettings.value(QStringLiteral("quiven-system-ruleset-in-use")).toLongLong();
    }
}

bool SettingsDaemon::exportOn(QString *error)
{
    const QString path =
        quiven::dbus::objectPathForService(QString::fromLatin1(quiven::dbus::kSettingsServiceName));
    if (!m_bus.registerObject(path, this, QDBusConnection::ExportAdaptors)) {
        *error = QStringLiteral("cannot export %1").arg(path);
        return false;
    }
    return true;
}

QString SettingsDaemon::settingsFile() const
{
    return QDir(m_stateDirectory).filePath(QStringLiteral("settings.json"));
}

QVariantMap SettingsDaemon::getSystemSettingsWithReply()
{
    return m_systemSettings;
}

QVariantMap SettingsDaemon::getUserAndSystemSettingsWithReply(QVariantMap &systemSettings)
{
    systemSettings = m_systemSettings;
    return {};
}

QStringList SettingsDaemon::getUserWhitelistWithReply(bool &available)
{
    available = true;
    return {};
}

void SettingsDaemon::setQUIVENSystemRuleSetWithAuthorization(const QVariantMap &authorization,
                                                             qulonglong ruleSet)
{
    const qsizetype rulesets = ProductFolders::baseRulesetFiles().size();
    if (ruleSet >= qulonglong(rulesets)) {
        sendErrorReply(
            QString::fromLatin1(quiven::dbus::kInvalidArgumentError),
            QStringLiteral("There is no system ruleset %1; there are %2").arg(ruleSet).arg(rulesets));
        return;
    }
    change(authorization, QStringLiteral("quiven-system-ruleset-in-use"), qlonglong(ruleSet));
}

void SettingsDaemon::setQUIVENLearningModeWithAuthorization(const QVariantMap &authorization, bool enabled)
{
    change(authorization, QStringLiteral("quiven-learning-mode"), enabled);
}

void SettingsDaemon::setQUIVENAdvancedModeWithAuthorization(const QVariantMap &authorization, bool enabled)
{
    change(authorization, QStringLiteral("quiven-advanced-mode"), enabled);
}

void SettingsDaemon::setQUIVENNonAdminCanSaveRulesWithAuthorization(const QVariantMap &authorization,
                                                                    bool enabled)
{
    change(authorization, QStringLiteral("quiven-policy-save-no-admins"), enabled);
}

void SettingsDaemon::change(const QVariantMap &authorization, const QString &key, const QVariant &value)
{
    const QByteArray form = externalFormFromHolder(authorization);
    QString error;
    if (form.isEmpty()) {
        sendErrorReply(QString::fromLatin1(quiven::dbus::kInvalidArgumentError),
                       QStringLiteral("The authorization holds no authorization reference"));
        return;
    }
    const std::optional<uint> uid = quiven::service::callerUid(m_bus, message().service());
    if (!uid) {
        sendErrorReply(QString::fromLatin1(quiven::dbus::kNotAuthorizedError),
                       QStringLiteral("The caller's user cannot be told"));
        return;
    }
    if (!m_gate->allow(form, *uid, &error)) {
        sendErrorReply(QString::fromLatin1(quiven::dbus::kNotAuthorizedError), error);
        return;
    }
    const QVariant previous = m_systemSettings.value(key);
    m_systemSettings.insert(key, value);
    if (!save(&error)) {
        m_systemSettings.insert(key, previous);
        sendErrorReply(QString::fromLatin1(quiven::dbus::kFailedError), error);
        return;
    }
    qCInfo(lcSettingsDaemon, "%s set to %s", qUtf8Printable(key), qUtf8Printable(value.toString()));
    Q_EMIT settingsUpdated();
}

bool SettingsDaemon::save(QString *error) const
{
    QDir().mkpath(m_stateDirectory);
    QSaveFile file(settingsFile());
    const QByteArray json = QJsonDocument(QJsonObject::fromVariantMap(m_systemSettings)).toJson();
    if (!file.open(QIODevice::WriteOnly) || file.write(json) < 0 || !file.commit()) {
        *error = QStringLiteral("Failed to write '%1': %2").arg(file.fileName(), file.errorString());
        return false;
    }
    return true;
}
