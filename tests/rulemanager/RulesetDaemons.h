#pragma once

#include "PrivateSystemBus.h"
#include "StandInProcess.h"
#include "WaitUntil.h"

#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QVariantMap>
#include <memory>

// A private bus with the authority (development backend), the settings daemon
// and the filter daemon over a temporary product root. This process is
// pointed at the same folders, so a rule manager made here reads the same
// system files as the daemons.
class RulesetDaemons
{
public:
    RulesetDaemons();
    ~RulesetDaemons();

    void writeSystemFile(const QString &name, const QByteArray &content) const;
    void writeSharedFile(const QString &name, const QByteArray &content) const;
    // The settings daemon's stored dictionary; takes effect at its next start.
    void writeSettings(const QVariantMap &settings) const;
    QByteArray userFile() const;

    // `authAnswer` is what the authority says to every request: grant, deny or cancel.
    bool start(const QString &authAnswer = QStringLiteral("grant"));
    bool startFilterd();
    bool startSettingsd();
    QString failureText() const;

    const PrivateSystemBus &bus() const { return m_bus; }
    StandInProcess &filterd() { return *m_filterd; }
    StandInProcess &settingsd() { return *m_settingsd; }
    StandInProcess &authority() { return *m_authority; }
    // What a client process needs: the bus and the two product folders.
    QProcessEnvironment environment() const;

private:
    QString path(const QString &relative) const;

    PrivateSystemBus m_bus;
    QTemporaryDir m_root;
    QByteArray m_previousSystemDir;
    QByteArray m_previousSharedDir;
    std::unique_ptr<StandInProcess> m_authority;
    std::unique_ptr<StandInProcess> m_settingsd;
    std::unique_ptr<StandInProcess> m_filterd;
};
