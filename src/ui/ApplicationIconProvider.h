#pragma once

#include <QHash>
#include <QIcon>
#include <QString>

// The icon a desktop shows for a program: the one named by the desktop entry
// whose Exec or TryExec runs it, else the generic executable icon. The desktop
// entries are read once; answers are cached per program.
class ApplicationIconProvider
{
public:
    static ApplicationIconProvider &shared();

    // Folders searched for "*.desktop" files, in order; the first entry naming
    // a program wins.
    explicit ApplicationIconProvider(QStringList applicationFolders = defaultApplicationFolders());

    QIcon iconForProgram(const QString &programPath);
    // The theme icon name of the program's desktop entry, or null.
    QString iconNameForProgram(const QString &programPath);

    static QStringList defaultApplicationFolders();

private:
    void readDesktopEntries();

    QStringList m_applicationFolders;
    bool m_entriesRead = false;
    QHash<QString, QString> m_iconNameByProgram;
    QHash<QString, QIcon> m_iconByProgram;
};
