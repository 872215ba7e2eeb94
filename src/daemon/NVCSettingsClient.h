#pragma once

#include "NVCServiceClient.h"

#include <QStringList>
#include <QVariantMap>

class ComNorvalisNrsettingsdProtocolInterface;
class NVCSettingsPrivilegedClient;

// Reads the settings daemon's dictionaries and keeps a live copy of them,
// refreshed on every settings-changed signal.
class NVCSettingsClient : public NVCServiceClient
{
    Q_OBJECT
public:
    static constexpr auto rulesetInUseKey = "quiven-system-ruleset-in-use";
    static constexpr auto learningModeKey = "quiven-learning-mode";
    static constexpr auto policySaveNoAdminsKey = "quiven-policy-save-no-admins";
    static constexpr auto enabledKey = "quiven-enabled";
    static constexpr auto advancedModeKey = "quiven-advanced-mode";

    using SettingsCallback =
        std::function<void(const QVariantMap &userSettings, const QVariantMap &systemSettings)>;

    explicit NVCSettingsClient(const QDBusConnection &bus,
                               const NVCNamespace &nameSpace = NVCNamespace::globalNamespace(),
                               QObject *parent = nullptr);

    static std::unique_ptr<NVCSettingsClient> createNonPrivilegedClient(const QDBusConnection &bus);
    static std::unique_ptr<NVCSettingsPrivilegedClient> createPrivilegedClient(const QDBusConnection &bus);
    static std::unique_ptr<NVCSettingsPrivilegedClient>
    createPrivilegedClientWithCustomizedAuthMessage(const QDBusConnection &bus, const QString &message);

    void startListeners();
    void startListenersWithReply(std::function<void(bool)> reply);
    // Each registers for its change signal once; later calls do nothing.
    void setupSettingsNotification();
    void setupWhitelistNotification();
    bool isNotificationRegistered() const { return m_settingsNotifyToken != -1; }
    bool isWhitelistNotificationRegistered() const { return m_whitelistNotifyToken != -1; }

    void getSystemSettingsWithReply(std::function<void(const QVariantMap &, const QDBusError &)> reply);
    void getUserAndSystemSettingsWithReply(
        std::function<void(const QVariantMap &, const QVariantMap &, const QDBusError &)> reply);
    void getUserWhitelistWithReply(std::function<void(const QStringList &, bool)> reply);

    // Cached copies; empty until the daemon first answers.
    QVariantMap systemSettings() const;
    QVariantMap userSettings() const;
    QStringList userWhitelist() const;

    // Called in registration order after each change; must not add callbacks.
    void addSettingsUpdateCallback(SettingsCallback callback);

Q_SIGNALS:
    void systemSettingsChanged(const QVariantMap &systemSettings);

private Q_SLOTS:
    void settingsUpdated();
    void whitelistUpdated();

private:
    void storeSettings(const QVariantMap &user, const QVariantMap &system);

    ComNorvalisNrsettingsdProtocolInterface *m_settings = nullptr;
    mutable QRecursiveMutex m_cacheLock;
    QVariantMap m_systemSettings;
    QVariantMap m_userSettings;
    QStringList m_userWhitelist;
    QRecursiveMutex m_callbackLock;
    QList<SettingsCallback> m_settingsUpdateCallbacks;
    std::atomic<qint32> m_settingsNotifyToken = -1;
    std::atomic<qint32> m_whitelistNotifyToken = -1;
};
