#include "ApplicationIconProvider.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

// The program of an Exec line: its first word, without quotes and field codes.
QString programOfExecLine(const QString &exec)
{
    const QString trimmed = exec.trimmed();
    if (trimmed.startsWith(u'"')) {
        const qsizetype end = trimmed.indexOf(u'"', 1);
        return end > 0 ? trimmed.mid(1, end - 1) : QString();
    }
    return trimmed.section(u' ', 0, 0);
}

// Desktop entries name programs by path or by a name looked up on PATH.
QString resolvedProgram(const QString &program)
{
    if (program.isEmpty())
        return QString();
    if (program.startsWith(u'/')) {
        const QString canonical = QFileInfo(program).canonicalFilePath();
        return canonical.isEmpty() ? program : canonical;
    }
    const QString found = QStandardPaths::findExecutable(program);
    return found.isEmpty() ? QString() : QFileInfo(found).canonicalFilePath();
}

// The keys of a desktop entry's main group ("[Desktop Entry]").
QHash<QString, QString> desktopEntryKeys(const QString &path)
{
    QHash<QString, QString> keys;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return keys;
    bool inMainGroup = false;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(u'[')) {
            inMainGroup = line == QLatin1String("[Desktop Entry]");
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        if (inMainGroup && equals > 0 && !line.startsWith(u'#'))
            keys.insert(line.left(equals).trimmed(), line.mid(equals + 1).trimmed());
    }
    return keys;
}

} // namespace

ApplicationIconProvider &ApplicationIconProvider::shared()
{
    static ApplicationIconProvider provider;
    return provider;
}

ApplicationIconProvider::ApplicationIconProvider(QStringList applicationFolders)
    : m_applicationFolders(std::move(applicationFolders))
{}

QStringList ApplicationIconProvider::defaultApplicationFolders()
{
    return {QDir::homePath() + QStringLiteral("/.local/share/applications"),
            QStringLiteral("/usr/share/applications")};
}

void ApplicationIconProvider::readDesktopEntries()
{
    m_entriesRead = true;
    for (const QString &folder : std::as_const(m_applicationFolders)) {
        QDirIterator entries(folder, {QStringLiteral("*.desktop")}, QDir::Files,
                             QDirIterator::Subdirectories);
        while (entries.hasNext()) {
            const QHash<QString, QString> entry = desktopEntryKeys(entries.next());
            const QString icon = entry.value(QStringLiteral("Icon"));
            if (icon.isEmpty())
                continue;
            for (const char *key : {"TryExec", "Exec"}) {
                const QString program =
                    resolvedProgram(programOfExecLine(entry.value(QString::fromLatin1(key))));
                if (!program.isEmpty() && !m_iconNameByProgram.contains(program))
                    m_iconNameByProgram.insert(program, icon);
            }
        }
    }
}

QString ApplicationIconProvider::iconNameForProgram(const QString &programPath)
{
    if (!m_entriesRead)
        readDesktopEntries();
    const QString canonical = QFileInfo(programPath).canonicalFilePath();
    return m_iconNameByProgram.value(canonical.isEmpty() ? programPath : canonical);
}

QIcon ApplicationIconProvider::iconForProgram(const QString &programPath)
{
    const auto cached = m_iconByProgram.constFind(programPath);
    if (cached != m_iconByProgram.cend())
        return *cached;
    static const QIcon generic = QIcon::fromTheme(QStringLiteral("application-x-executable"),
                                                  QIcon(QStringLiteral(":/images/application.svg")));
    const QString name = iconNameForProgram(programPath);
    QIcon icon = generic;
    if (!name.isEmpty())
        icon = name.startsWith(u'/') ? QIcon(name) : QIcon::fromTheme(name, generic);
    m_iconByProgram.insert(programPath, icon);
    return icon;
}
