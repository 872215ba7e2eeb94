#include "DaemonStack.h"

#include "BuildPaths.h"
#include "TestFiles.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

using quiven::test::builtBinary;
using quiven::test::sourceFile;

namespace {

const char systemFolderVariable[] = "QUIVEN_SYSTEM_RULES_DIR";
const char sharedFolderVariable[] = "QUIVEN_SHARED_DIR";

std::optional<QByteArray> variable(const char *name)
{
    return qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt;
}

void restore(const char *name, const std::optional<QByteArray> &value)
{
    if (value)
        qputenv(name, *value);
    else
        qunsetenv(name);
}

bool copyContents(const QString &from, const QString &to)
{
    return QProcess::execute(QStringLiteral("cp"), {QStringLiteral("-R"), from + QStringLiteral("/."), to}) ==
           0;
}

} // namespace

DaemonStack::DaemonStack(Checks checks)
    : m_checks(checks)
    , m_previousSystemFolder(variable(systemFolderVariable))
    , m_previousSharedFolder(variable(sharedFolderVariable))
{
    QDir().mkpath(systemFolder());
    QDir().mkpath(sharedFolder());
    qputenv(systemFolderVariable, QFile::encodeName(systemFolder()));
    qputenv(sharedFolderVariable, QFile::encodeName(sharedFolder()));
}

DaemonStack::~DaemonStack()
{
    restore(systemFolderVariable, m_previousSystemFolder);
    restore(sharedFolderVariable, m_previousSharedFolder);
}

QString DaemonStack::path(const QString &relative) const
{
    return m_root.filePath(relative);
}

QString DaemonStack::systemFolder() const
{
    return path(QStringLiteral("system/"));
}

QString DaemonStack::sharedFolder() const
{
    return path(QStringLiteral("shared/"));
}

bool DaemonStack::copyDemoRuleset() const
{
    return copyContents(sourceFile(QStringLiteral("demo/system")), systemFolder()) &&
           copyContents(sourceFile(QStringLiteral("demo/shared")), sharedFolder());
}

void DaemonStack::writeSystemFile(const QString &name, const QByteArray &content) const
{
    writeFile(systemFolder() + name, content);
}

void DaemonStack::writeSharedFile(const QString &name, const QByteArray &content) const
{
    writeFile(sharedFolder() + name, content);
}

void DaemonStack::writeSettings(const QVariantMap &settings) const
{
    writeFile(path(QStringLiteral("state/settings.json")),
              QJsonDocument(QJsonObject::fromVariantMap(settings)).toJson());
}

QByteArray DaemonStack::userFile() const
{
    return readFile(sharedFolder() + QStringLiteral("local.quiven.rc"));
}

QProcessEnvironment DaemonStack::environment() const
{
    QProcessEnvironment environment = m_bus.environment();
    environment.insert(QString::fromLatin1(systemFolderVariable), systemFolder());
    environment.insert(QString::fromLatin1(sharedFolderVariable), sharedFolder());
    return environment;
}

bool DaemonStack::start(const QString &authAnswer)
{
    return startAuthority(authAnswer) && startSettingsd() && startFilterd();
}

bool DaemonStack::startAuthority(const QString &authAnswer)
{
    if (!m_bus.isRunning())
        return false;
    m_authority.reset();
    QProcessEnvironment authorityEnvironment = environment();
    authorityEnvironment.insert(QStringLiteral("QUIVEN_DEV_AUTH"), authAnswer);
    m_authority =
        std::make_unique<StandInProcess>(builtBinary(QStringLiteral("services/authority/quiven-authd")),
                                         QStringList{QStringLiteral("--dev-backend")}, authorityEnvironment);
    return m_authority->start(m_bus, QStringLiteral("com.norvalis.nrauthd"));
}

bool DaemonStack::startSettingsd()
{
    return startDaemon(m_settingsd, QStringLiteral("services/settingsd/quiven-settingsd"),
                       {QStringLiteral("--state-dir"), path(QStringLiteral("state"))},
                       QStringLiteral("com.norvalis.nrsettingsd"));
}

bool DaemonStack::startFilterd()
{
    return startDaemon(m_filterd, QStringLiteral("services/filterd/quiven-filterd"), {},
                       QStringLiteral("com.norvalis.nrquivend"));
}

bool DaemonStack::startDaemon(std::unique_ptr<StandInProcess> &daemon, const QString &binary,
                              QStringList arguments, const QString &busName)
{
    if (!m_bus.isRunning())
        return false;
    if (!daemon) {
        if (m_checks == Checks::InsecureDev)
            arguments.prepend(QStringLiteral("--insecure-dev"));
        daemon = std::make_unique<StandInProcess>(builtBinary(binary), arguments, environment());
    }
    return daemon->start(m_bus, busName);
}

QString DaemonStack::failureText() const
{
    QString text = m_bus.errorText();
    for (const auto *process : {m_authority.get(), m_settingsd.get(), m_filterd.get()})
        if (process)
            text += QString::fromUtf8(process->output());
    return text;
}
