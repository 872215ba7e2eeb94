#include "RulesetDaemons.h"

#include "BuildPaths.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

void writeFile(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(content);
}

} // namespace

RulesetDaemons::RulesetDaemons()
    : m_previousSystemDir(qgetenv("QUIVEN_SYSTEM_RULES_DIR"))
    , m_previousSharedDir(qgetenv("QUIVEN_SHARED_DIR"))
{
    QDir().mkpath(path(QStringLiteral("system")));
    QDir().mkpath(path(QStringLiteral("shared")));
    qputenv("QUIVEN_SYSTEM_RULES_DIR", QFile::encodeName(path(QStringLiteral("system/"))));
    qputenv("QUIVEN_SHARED_DIR", QFile::encodeName(path(QStringLiteral("shared/"))));
}

RulesetDaemons::~RulesetDaemons()
{
    m_filterd.reset();
    m_settingsd.reset();
    m_authority.reset();
    qputenv("QUIVEN_SYSTEM_RULES_DIR", m_previousSystemDir);
    qputenv("QUIVEN_SHARED_DIR", m_previousSharedDir);
}

QString RulesetDaemons::path(const QString &relative) const
{
    return m_root.filePath(relative);
}

void RulesetDaemons::writeSystemFile(const QString &name, const QByteArray &content) const
{
    writeFile(path(QStringLiteral("system/") + name), content);
}

void RulesetDaemons::writeSharedFile(const QString &name, const QByteArray &content) const
{
    writeFile(path(QStringLiteral("shared/") + name), content);
}

void RulesetDaemons::writeSettings(const QVariantMap &settings) const
{
    writeFile(path(QStringLiteral("state/settings.json")),
              QJsonDocument(QJsonObject::fromVariantMap(settings)).toJson());
}

QByteArray RulesetDaemons::userFile() const
{
    QFile file(path(QStringLiteral("shared/local.quiven.rc")));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QProcessEnvironment RulesetDaemons::environment() const
{
    QProcessEnvironment environment = m_bus.environment();
    environment.insert(QStringLiteral("QUIVEN_SYSTEM_RULES_DIR"), path(QStringLiteral("system/")));
    environment.insert(QStringLiteral("QUIVEN_SHARED_DIR"), path(QStringLiteral("shared/")));
    return environment;
}

bool RulesetDaemons::start(const QString &authAnswer)
{
    if (!m_bus.isRunning())
        return false;
    QProcessEnvironment authorityEnvironment = environment();
    authorityEnvironment.insert(QStringLiteral("QUIVEN_DEV_AUTH"), authAnswer);
    m_authority = std::make_unique<StandInProcess>(
        quiven::test::builtBinary(QStringLiteral("services/authority/quiven-authd")),
        QStringList{QStringLiteral("--dev-backend")}, authorityEnvironment);
    return m_authority->start(m_bus, QStringLiteral("com.norvalis.nrauthd")) && startSettingsd() &&
           startFilterd();
}

bool RulesetDaemons::startSettingsd()
{
    if (!m_settingsd)
        m_settingsd = std::make_unique<StandInProcess>(
            quiven::test::builtBinary(QStringLiteral("services/settingsd/quiven-settingsd")),
            QStringList{QStringLiteral("--state-dir"), path(QStringLiteral("state"))}, environment());
    return m_settingsd->start(m_bus, QStringLiteral("com.norvalis.nrsettingsd"));
}

bool RulesetDaemons::startFilterd()
{
    if (!m_filterd)
        m_filterd = std::make_unique<StandInProcess>(
            quiven::test::builtBinary(QStringLiteral("services/filterd/quiven-filterd")), QStringList{},
            environment());
    return m_filterd->start(m_bus, QStringLiteral("com.norvalis.nrquivend"));
}

QString RulesetDaemons::failureText() const
{
    QString text = m_bus.errorText();
    for (const auto *process : {m_authority.get(), m_settingsd.get(), m_filterd.get()})
        if (process)
            text += QString::fromUtf8(process->output());
    return text;
}
