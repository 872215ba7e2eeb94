#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <memory>

// A dbus-daemon configured like the system bus (names need a policy to be
// owned) on a private socket. Lives as long as the object.
class PrivateSystemBus
{
public:
    explicit PrivateSystemBus(const QStringList &extraPolicyFiles = {});
    ~PrivateSystemBus();
    PrivateSystemBus(const PrivateSystemBus &) = delete;
    PrivateSystemBus &operator=(const PrivateSystemBus &) = delete;

    bool isRunning() const;
    // Lets processes of other users reach the socket (the folder is private by default).
    bool allowOtherUsers() const;
    // Kills the bus daemon, cutting every connection to it.
    void stop();
    QString address() const;
    QString errorText() const;
    QDBusConnection connect(const QString &connectionName) const;
    bool waitForName(const QString &name, int timeoutMs = 5000) const;
    bool waitForNameGone(const QString &name, int timeoutMs = 5000) const;

    // The environment a child process needs to find this bus as its system bus.
    QProcessEnvironment environment() const;

private:
    bool waitForNameState(const QString &name, bool wanted, int timeoutMs) const;

    QTemporaryDir m_dir;
    std::unique_ptr<QProcess> m_process;
    QString m_address;
    QString m_error;
    mutable QStringList m_connectionNames;
};
