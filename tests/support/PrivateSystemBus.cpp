#include "PrivateSystemBus.h"

#include "BuildPaths.h"

#include <QDBusConnectionInterface>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QThread>

namespace {

QStringList productPolicyFiles()
{
    const QDir dir(quiven::test::sourceFile(QStringLiteral("dbus")));
    QStringList files;
    for (const QString &name : dir.entryList({QStringLiteral("*.conf")}, QDir::Files, QDir::Name))
        files << dir.absoluteFilePath(name);
    return files;
}

// The bus configuration for the given listen address, from the template the demo script fills in too.
QString configText(const QString &listenAddress, const QStringList &policyFiles)
{
    QFile templateFile(quiven::test::sourceFile(QStringLiteral("dbus/private-system-bus.conf.in")));
    if (!templateFile.open(QIODevice::ReadOnly))
        return {};
    QString includes;
    for (const QString &file : policyFiles)
        includes += QStringLiteral("  <include>") + file.toHtmlEscaped() + QStringLiteral("</include>\n");
    return QString::fromUtf8(templateFile.readAll())
        .replace(QStringLiteral("@QUIVEN_LISTEN@"), listenAddress.toHtmlEscaped())
        .replace(QStringLiteral("@QUIVEN_POLICY_INCLUDES@"), includes);
}

} // namespace

PrivateSystemBus::PrivateSystemBus(const QStringList &extraPolicyFiles)
{
    if (!m_dir.isValid()) {
        m_error = QStringLiteral("cannot create a temporary folder");
        return;
    }
    const QString config =
        configText(QStringLiteral("unix:dir=") + m_dir.path(), productPolicyFiles() + extraPolicyFiles);
    const QString configPath = m_dir.filePath(QStringLiteral("bus.conf"));
    QFile configFile(configPath);
    if (config.isEmpty() || !configFile.open(QIODevice::WriteOnly) || configFile.write(config.toUtf8()) < 0) {
        m_error = QStringLiteral("cannot write the bus configuration");
        return;
    }
    configFile.close();

    m_process = std::make_unique<QProcess>();
    m_process->setProcessChannelMode(QProcess::SeparateChannels);
    m_process->start(QStringLiteral("dbus-daemon"),
                     {QStringLiteral("--nofork"), QStringLiteral("--print-address"),
                      QStringLiteral("--config-file=") + configPath});
    if (!m_process->waitForStarted(5000)) {
        m_error = QStringLiteral("dbus-daemon did not start: ") + m_process->errorString();
        return;
    }
    QDeadlineTimer deadline(10000);
    QByteArray line;
    while (!line.contains('\n') && !deadline.hasExpired() && m_process->state() == QProcess::Running) {
        m_process->waitForReadyRead(100);
        line += m_process->readAllStandardOutput();
    }
    m_address = QString::fromUtf8(line).trimmed();
    if (m_address.isEmpty())
        m_error = QStringLiteral("dbus-daemon printed no address: ") +
                  QString::fromUtf8(m_process->readAllStandardError());
}

PrivateSystemBus::~PrivateSystemBus()
{
    for (const QString &name : std::as_const(m_connectionNames))
        QDBusConnection::disconnectFromBus(name);
    stop();
}

bool PrivateSystemBus::allowOtherUsers() const
{
    return QFile::setPermissions(m_dir.path(), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                   QFileDevice::ExeOwner | QFileDevice::ExeGroup |
                                                   QFileDevice::ExeOther);
}

void PrivateSystemBus::stop()
{
    if (m_process && m_process->state() != QProcess::NotRunning) {
        m_process->kill();
        m_process->waitForFinished(5000);
    }
}

bool PrivateSystemBus::isRunning() const
{
    return m_process && m_process->state() == QProcess::Running && !m_address.isEmpty();
}

QString PrivateSystemBus::address() const
{
    return m_address;
}

QString PrivateSystemBus::errorText() const
{
    return m_error;
}

QDBusConnection PrivateSystemBus::connect(const QString &connectionName) const
{
    if (!m_connectionNames.contains(connectionName))
        m_connectionNames << connectionName;
    return QDBusConnection::connectToBus(m_address, connectionName);
}

QProcessEnvironment PrivateSystemBus::environment() const
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DBUS_SYSTEM_BUS_ADDRESS"), m_address);
    return env;
}

bool PrivateSystemBus::waitForName(const QString &name, int timeoutMs) const
{
    return waitForNameState(name, true, timeoutMs);
}

bool PrivateSystemBus::waitForNameGone(const QString &name, int timeoutMs) const
{
    return waitForNameState(name, false, timeoutMs);
}

bool PrivateSystemBus::waitForNameState(const QString &name, bool wanted, int timeoutMs) const
{
    QDBusConnection bus = connect(QStringLiteral("quiven-test-name-watch"));
    if (!bus.isConnected())
        return false;
    QDeadlineTimer deadline(timeoutMs);
    do {
        const auto reply = bus.interface()->isServiceRegistered(name);
        if (reply.isValid() && reply.value() == wanted)
            return true;
        QThread::msleep(20);
    } while (!deadline.hasExpired());
    return false;
}
