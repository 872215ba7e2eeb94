#pragma once

#include "PrivateSystemBus.h"
#include "StandInProcess.h"

#include <QByteArray>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariantMap>
#include <memory>
#include <optional>

// The authority (development backend), the settings daemon and the filter
// daemon on a private bus over a temporary product root. This process is
// pointed at the same folders while the stack lives, so a rule manager made
// here reads the same files as the daemons.
class DaemonStack
{
public:
    // Daemons started with InsecureDev take any authorization form without
    // asking the authority.
    enum class Checks
    {
        ByAuthority,
        InsecureDev
    };

    explicit DaemonStack(Checks checks = Checks::ByAuthority);
    ~DaemonStack();
    DaemonStack(const DaemonStack &) = delete;
    DaemonStack &operator=(const DaemonStack &) = delete;

    // Both folders end in '/'.
    QString systemFolder() const;
    QString sharedFolder() const;
    bool copyDemoRuleset() const;
    void writeSystemFile(const QString &name, const QByteArray &content) const;
    void writeSharedFile(const QString &name, const QByteArray &content) const;
    // The settings daemon's stored dictionary; takes effect at its next start.
    void writeSettings(const QVariantMap &settings) const;
    QByteArray userFile() const;

    // Every daemon; `authAnswer` is what the authority says to every request:
    // grant, deny or cancel.
    bool start(const QString &authAnswer = QStringLiteral("grant"));
    // Replaces a running authority.
    bool startAuthority(const QString &authAnswer);
    // Start again after a stop or a kill, with the same arguments.
    bool startSettingsd();
    bool startFilterd();
    // The bus error and everything the daemons printed.
    QString failureText() const;

    PrivateSystemBus &bus() { return m_bus; }
    StandInProcess &authority() { return *m_authority; }
    StandInProcess &settingsd() { return *m_settingsd; }
    StandInProcess &filterd() { return *m_filterd; }
    // What a client process needs: the bus and the two product folders.
    QProcessEnvironment environment() const;

private:
    QString path(const QString &relative) const;
    // Makes the daemon's process at its first start; later starts reuse its arguments.
    bool startDaemon(std::unique_ptr<StandInProcess> &daemon, const QString &binary, QStringList arguments,
                     const QString &busName);

    Checks m_checks;
    std::optional<QByteArray> m_previousSystemFolder;
    std::optional<QByteArray> m_previousSharedFolder;
    PrivateSystemBus m_bus;
    QTemporaryDir m_root;
    std::unique_ptr<StandInProcess> m_authority;
    std::unique_ptr<StandInProcess> m_settingsd;
    std::unique_ptr<StandInProcess> m_filterd;
};
