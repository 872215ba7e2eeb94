#include "NVCCodeSignInfoProvider.h"

#include <QFileInfo>
#include <QStringList>

QString NVCCodeSignInfoProvider::teamIdentifier(const QString &) const
{
    return QString();
}

bool NVCCodeSignInfoProvider::isPlatformBinary(const QString &path) const
{
    static const QStringList systemProgramFolders{
        QStringLiteral("/usr/bin/"),     QStringLiteral("/usr/sbin/"), QStringLiteral("/usr/lib/"),
        QStringLiteral("/usr/libexec/"), QStringLiteral("/bin/"),      QStringLiteral("/sbin/"),
        QStringLiteral("/lib/"),         QStringLiteral("/lib64/"),    QStringLiteral("/usr/lib64/")};
    const QFileInfo file(path);
    if (!file.isFile() || file.isSymLink() || file.ownerId() != 0)
        return false;
    const QString canonical = file.canonicalFilePath();
    for (const QString &folder : systemProgramFolders) {
        if (canonical.startsWith(folder))
            return true;
    }
    return false;
}
