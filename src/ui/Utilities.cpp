#include "Utilities.h"

#include <QDir>
#include <QFileInfo>

QString Utilities::expandTilde(const QString &path)
{
    if (path == QLatin1String("~"))
        return QDir::homePath();
    if (path.startsWith(QLatin1String("~/")))
        return QDir::homePath() + path.mid(1);
    return path;
}

QString Utilities::normalizePath(const QString &path)
{
    if (path.isEmpty())
        return path;
    const QFileInfo info(expandTilde(path));
    QString canonical = info.canonicalFilePath();
    if (canonical.isEmpty())
        return path;
    const QString home = QFileInfo(QDir::homePath()).canonicalFilePath();
    if (!home.isEmpty() && home != QLatin1String("/")) {
        if (canonical == home)
            canonical = QStringLiteral("~");
        else if (canonical.startsWith(home + u'/'))
            canonical = u'~' + canonical.mid(home.size());
    }
    if (info.isDir() && !canonical.endsWith(u'/'))
        canonical += u'/';
    return canonical;
}
