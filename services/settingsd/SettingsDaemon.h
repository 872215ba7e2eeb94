#pragma once

#include "PrivilegedChangeGate.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QStringList>
#include <QVariantMap>
#include <memory>

// The settings daemon stand-in: the system settings dictionary kept in a state
// folder, the user settings and allow list, and the authorized filter setters.
class SettingsDaemon : public QObject, public QDBusContext
{
    Q_OBJECT
public:
    SettingsDaemon(const QDBusConnection &bus, const QString &stateDirectory,
                   std::unique_ptr<PrivilegedChangeGate> gate, QObject *parent = nullptr);

    bool exportOn(QString *error);

public Q_SLOTS:
    QVariantMap getSystemSettingsWithReply();
    QVariantMap getUserAndSystemSettingsWithReply(QVariantMap &systemSettings);
    QStringList getUserWhitelistWithReply(bool &available);

    void setQUIVENSystemRuleSetWithAuthorization(const QVariantMap &authorization, qulonglong ruleSet);
    void setQUIVENLearningModeWithAuthorization(const QVariantMap &authorization, bool enabled);
    void setQUIVENAdvancedModeWithAuthorization(const QVariantMap &authorization, bool enabled);
    void setQUIVENNonAdminCanSaveRulesWithAuthorization(const QVariantMap &authorization, bool enabled);

Q_SIGNALS:
    void settingsUpdated();

private:
    void change(const QVariantMap &authorization, const QString &key, const QVariant &value);
    bool save(QString *error) const;
    QString settingsFile() const;

    QDBusConnection m_bus;
    QString m_stateDirectory;
    std::unique_ptr<PrivilegedChangeGate> m_gate;
    QVariantMap m_systemSettings;
};
