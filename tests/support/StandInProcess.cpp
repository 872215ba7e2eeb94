#include "StandInProcess.h"

#include "PrivateSystemBus.h"

#include <QDeadlineTimer>

StandInProcess::StandInProcess(const QString &program, const QStringList &arguments,
                               const QProcessEnvironment &environment)
    : m_program(program)
    , m_arguments(arguments)
    , m_environment(environment)
{}

StandInProcess::~StandInProcess()
{
    terminate();
}

bool StandInProcess::start(const PrivateSystemBus &bus, const QString &busNameToWaitFor)
{
    if (isRunning())
        return false;
    output();
    m_process = std::make_unique<QProcess>();
    m_process->setProcessChannelMode(QProcess::MergedChannels);
    QProcessEnvironment env = m_environment;
    env.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), bus.address());
    m_process->setProcessEnvironment(env);
    m_process->start(m_program, m_arguments);
    if (!m_process->waitForStarted(5000)) {
        m_output += "failed to start " + m_program.toUtf8() + ": " + m_process->errorString().toUtf8() + '\n';
        return false;
    }
    return busNameToWaitFor.isEmpty() || bus.waitForName(busNameToWaitFor, 10000);
}

void StandInProcess::kill9()
{
    if (!isRunning())
        return;
    m_process->kill();
    m_process->waitForFinished(5000);
}

void StandInProcess::terminate()
{
    if (!isRunning())
        return;
    m_process->terminate();
    if (!m_process->waitForFinished(5000)) {
        m_process->kill();
        m_process->waitForFinished(5000);
    }
}

bool StandInProcess::isRunning() const
{
    return m_process && m_process->state() != QProcess::NotRunning;
}

qint64 StandInProcess::pid() const
{
    return m_process ? m_process->processId() : 0;
}

QByteArray StandInProcess::output() const
{
    if (m_process)
        m_output += m_process->readAll();
    return m_output;
}

bool StandInProcess::waitForOutput(const QByteArray &text, int timeoutMs) const
{
    QDeadlineTimer deadline(timeoutMs);
    while (!output().contains(text)) {
        if (deadline.hasExpired() || !isRunning())
            return output().contains(text);
        m_process->waitForReadyRead(50);
    }
    return true;
}
