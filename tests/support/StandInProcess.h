#pragma once

#include <QByteArray>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <memory>

class PrivateSystemBus;

// One stand-in daemon running as a child process on a private bus.
class StandInProcess
{
public:
    StandInProcess(const QString &program, const QStringList &arguments,
                   const QProcessEnvironment &environment);
    ~StandInProcess();
    StandInProcess(const StandInProcess &) = delete;
    StandInProcess &operator=(const StandInProcess &) = delete;

    // Starts the program and waits until it owns busNameToWaitFor.
    bool start(const PrivateSystemBus &bus, const QString &busNameToWaitFor);
    void kill9();
    void terminate();
    bool isRunning() const;
    qint64 pid() const;
    QByteArray output() const;
    // Waits until the collected output contains text.
    bool waitForOutput(const QByteArray &text, int timeoutMs = 5000) const;

private:
    QString m_program;
    QStringList m_arguments;
    QProcessEnvironment m_environment;
    std::unique_ptr<QProcess> m_process;
    mutable QByteArray m_output;
};
