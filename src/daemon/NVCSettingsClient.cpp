#include "NVCSettingsClient.h"

#include "NVCSettingsPrivilegedClient.h"
#include "nrsettingsdProtocolProxy.h"

#include <QDBusPendingReply>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcSettingsClient, "com.norvalis.NVCSettingsClient")

namespace {
constexpr auto kNotificationInterface = "com.norvalis.nrsettingsdNotifications";
constexpr auto kSettingsSignal = "settingsUpdated";
constexpr auto kWhitelistSignal = "whitelistUpdated";
} // namespace

NVCSettingsClient::NVCSettingsClient(const QDBusConnection &bus, const NVCNamespace &nameSpace,
                                     QObject *parent)
    : NVCServiceClient(bus, QString::fromLatin1(quiven::dbus::kSettingsServiceName),
                       QStringLiteral("nrsettingsdProtocol"), nameSpace, parent)
{
    m_settings = new ComNorvalisNrsettingsdProtocolInterface(serviceName(), objectPath(), this->bus(), this);
}

std::unique_ptr<NVCSettingsClient> NVCSettingsClient::createNonPrivilegedClient(const QDBusConnection &bus)
{
    return std::make_unique<NVCSettingsClient>(bus);
}

std::unique_ptr<NVCSettingsPrivilegedClient>
NVCSettingsClient::createPrivilegedClient(const QDBusConnection &bus)
{
    return std::make_unique<NVCSettingsPrivilegedClient>(bus);
}

std::unique_ptr<NVCSettingsPrivilegedClient>
NVCSettingsClient::createPrivilegedClientWithCustomizedAuthMessage(const QDBusConnection &bus,
                                                                   const QString &message)
{
    auto client = std::make_unique<NVCSettingsPrivilegedClient>(bus);
    client->customizedAuthMessage = message;
    return client;
}

void NVCSettingsClient::startListeners()
{
    startListenersWithReply([](bool responded) {
        if (!responded)
            qCWarning(lcSettingsClient, "settings and whitelist listeners did not both respond");
    });
}

void NVCSettingsClient::startListenersWithReply(std::function<void(bool)> reply)
{
    qCInfo(lcSettingsClient, "Starting settings and whitelist notification listeners");
    setupWhitelistNotification();
    setupSettingsNotification();
    QPointer<NVCSettingsClient> weakSelf(this);
    getUserAndSystemSettingsWithReply([weakSelf, reply](const QVariantMap &user, const QVariantMap &system,
                                                        const QDBusError &error) {
        if (!weakSelf)
            return;
        const bool settingsOk = !error.isValid();
        if (settingsOk)
            weakSelf->storeSettings(user, system);
        else
            qCWarning(lcSettingsClient, "Failed to get settings: %s", qUtf8Printable(error.message()));
        weakSelf->getUserWhitelistWithReply([weakSelf, reply, settingsOk](const QStringList &list,
                                                                          bool available) {
            if (available && weakSelf) {
                QMutexLocker locker(&weakSelf->m_cacheLock);
                weakSelf->m_userWhitelist = list;
            }
            qCInfo(lcSettingsClient, "settings and whitelist notification listeners have both responded.");
            if (reply)
                reply(available && settingsOk);
        });
    });
}

void NVCSettingsClient::setupSettingsNotification()
{
    // Registered from the owner thread only, so a token is never taken twice.
    if (!isOwnerThread()) {
        QMetaObject::invokeMethod(this, &NVCSettingsClient::setupSettingsNotification, Qt::QueuedConnection);
        return;
    }
    if (m_settingsNotifyToken != -1)
        return;
    if (bus().connect(serviceName(), objectPath(), QString::fromLatin1(kNotificationInterface),
                      QString::fromLatin1(kSettingsSignal), this, SLOT(settingsUpdated())))
        m_settingsNotifyToken = 1;
    else
        qCWarning(lcSettingsClient, "Failed to register for settings notifications: %s",
                  qUtf8Printable(bus().lastError().message()));
}

void NVCSettingsClient::setupWhitelistNotification()
{
    if (!isOwnerThread()) {
        QMetaObject::invokeMethod(this, &NVCSettingsClient::setupWhitelistNotification, Qt::QueuedConnection);
        return;
    }
    if (m_whitelistNotifyToken != -1)
        return;
    if (bus().connect(serviceName(), objectPath(), QString::fromLatin1(kNotificationInterface),
                      QString::fromLatin1(kWhitelistSignal), this, SLOT(whitelistUpdated())))
        m_whitelistNotifyToken = 2;
    else
        qCWarning(lcSettingsClient, "Failed to register for allow-list notifications: %s",
                  qUtf8Printable(bus().lastError().message()));
}

void NVCSettingsClient::whitelistUpdated()
{
    QPointer<NVCSettingsClient> weakSelf(this);
    getUserWhitelistWithReply([weakSelf](const QStringList &list, bool available) {
        if (!available || !weakSelf)
            return;
        QMutexLocker locker(&weakSelf->m_cacheLock);
        weakSelf->m_userWhitelist = list;
    });
}

void NVCSettingsClient::settingsUpdated()
{
    QPointer<NVCSettingsClient> weakSelf(this);
    getUserAndSystemSettingsWithReply(
        [weakSelf](const QVariantMap &user, const QVariantMap &system, const QDBusError &error) {
            if (!weakSelf)
                return;
            if (error.isValid()) {
                qCWarning(lcSettingsClient, "Failed to get updated settings: %s",
                          qUtf8Printable(error.message()));
                return;
            }
            QMutexLocker locker(&weakSelf->m_callbackLock);
            weakSelf->storeSettings(user, system);
            for (const SettingsCallback &callback : std::as_const(weakSelf->m_settingsUpdateCallbacks))
                callback(user, system);
        });
}

void NVCSettingsClient::storeSettings(const QVariantMap &user, const QVariantMap &system)
{
    bool changed = false;
    {
        QMutexLocker locker(&m_cacheLock);
        m_userSettings = user;
        changed = m_systemSettings != system;
        m_systemSettings = system;
    }
    if (changed)
        Q_EMIT systemSettingsChanged(system);
}

void NVCSettingsClient::getSystemSettingsWithReply(
    std::function<void(const QVariantMap &, const QDBusError &)> reply)
{
    if (!linkForCall()) {
        failShutDown([reply](const QDBusError &error) { reply({}, error); });
        return;
    }
    deliver(
        m_settings->getSystemSettingsWithReply(),
        [reply](const QDBusPendingCall &call) { reply(QDBusPendingReply<QVariantMap>(call).value(), {}); },
        [reply](const QDBusError &error) { reply({}, error); });
}

void NVCSettingsClient::getUserAndSystemSettingsWithReply(
    std::function<void(const QVariantMap &, const QVariantMap &, const QDBusError &)> reply)
{
    if (!linkForCall()) {
        failShutDown([reply](const QDBusError &error) { reply({}, {}, error); });
        return;
    }
    deliver(
        m_settings->getUserAndSystemSettingsWithReply(),
        [reply](const QDBusPendingCall &call) {
            const QDBusPendingReply<QVariantMap, QVariantMap> answer(call);
            reply(answer.argumentAt<0>(), answer.argumentAt<1>(), {});
        },
        [reply](const QDBusError &error) { reply({}, {}, error); });
}

void NVCSettingsClient::getUserWhitelistWithReply(std::function<void(const QStringList &, bool)> reply)
{
    if (!linkForCall()) {
        failShutDown([reply](const QDBusError &) { reply({}, false); });
        return;
    }
    deliver(
        m_settings->getUserWhitelistWithReply(),
        [reply](const QDBusPendingCall &call) {
            const QDBusPendingReply<QStringList, bool> answer(call);
            reply(answer.argumentAt<0>(), answer.argumentAt<1>());
        },
        [reply](const QDBusError &error) {
            qCWarning(lcSettingsClient, "Failed to get the allow list: %s", qUtf8Printable(error.message()));
            reply({}, false);
        });
}

QVariantMap NVCSettingsClient::systemSettings() const
{
    QMutexLocker locker(&m_cacheLock);
    return m_systemSettings;
}

QVariantMap NVCSettingsClient::userSettings() const
{
    QMutexLocker locker(&m_cacheLock);
    return m_userSettings;
}

QStringList NVCSettingsClient::userWhitelist() const
{
    QMutexLocker locker(&m_cacheLock);
    return m_userWhitelist;
}

void NVCSettingsClient::addSettingsUpdateCallback(SettingsCallback callback)
{
    QMutexLocker locker(&m_callbackLock);
    m_settingsUpdateCallbacks.append(std::move(callback));
}
