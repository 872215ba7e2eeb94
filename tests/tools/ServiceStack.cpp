#include "ServiceStack.h"

#include "BuildPaths.h"

#include <QDir>
#include <QProcess>

using quiven::test::builtBinary;
using quiven::test::sourceFile;

namespace {

bool copyFolder(const QString &from, const QString &to)
{
    return QProcess::execute(QStringLiteral("cp"), {QStringLiteral("-R"), from, to}) == 0;
}

} // namespace

ServiceStack::ServiceStack(const QString &authorityAnswer)
{
    if (!m_bus.isRunning() || !m_root.isValid()) {
        m_startError = QStringLiteral("no private bus: ") + m_bus.errorText();
        return;
    }
    if (!copyFolder(sourceFile(QStringLiteral("demo/system")), m_root.filePath(QStringLiteral("system"))) ||
        !copyFolder(sourceFile(QStringLiteral("demo/shared")), m_root.filePath(QStringLiteral("shared")))) {
        m_startError = QStringLiteral("cannot copy the demo ruleset");
        return;
    }
    QProcessEnvironment authorityEnvironment = environment();
    authorityEnvironment.insert(QStringLiteral("QUIVEN_DEV_AUTH"), authorityAnswer);
    m_authority =
        std::make_unique<StandInProcess>(builtBinary(QStringLiteral("services/authority/quiven-authd")),
                                         QStringList{QStringLiteral("--dev-backend")}, authorityEnvironment);
    m_settingsd = std::make_unique<StandInProcess>(
        builtBinary(QStringLiteral("services/settingsd/quiven-settingsd")),
        QStringList{QStringLiteral("--state-dir"), m_root.filePath(QStringLiteral("state"))}, environment());
    m_filterd = std::make_unique<StandInProcess>(
        builtBinary(QStringLiteral("services/filterd/quiven-filterd")), QStringList{}, environment());
    const std::pair<StandInProcess *, const char *> daemons[] = {
        {m_authority.get(), "com.norvalis.nrauthd"},
        {m_settingsd.get(), "com.norvalis.nrsettingsd"},
        {m_filterd.get(), "com.norvalis.nrquivend"}};
    for (const auto &[daemon, name] : daemons) {
        if (!daemon->start(m_bus, QString::fromLatin1(name))) {
            m_startError = QString::fromLatin1(name) + QStringLiteral(" did not start: ") +
                           QString::fromUtf8(daemon->output());
            return;
        }
    }
}

QProcessEnvironment ServiceStack::environment() const
{
    QProcessEnvironment environment = m_bus.environment();
    environment.insert(QStringLiteral("QUIVEN_SYSTEM_RULES_DIR"),
                       m_root.filePath(QStringLiteral("system")) + '/');
    environment.insert(QStringLiteral("QUIVEN_SHARED_DIR"), sharedFolder());
    return environment;
}

QString ServiceStack::sharedFolder() const
{
    return m_root.filePath(QStringLiteral("shared")) + '/';
}
