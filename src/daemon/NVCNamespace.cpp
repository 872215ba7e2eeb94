#include "NVCNamespace.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcNamespace, "com.norvalis.NVCNamespace")

NVCNamespace::NVCNamespace(const QString &name)
    : m_namespace(name)
{}

QString NVCNamespace::namespaceFilePath(const QString &installedFile, const QString &executableFolder)
{
    if (QFileInfo::exists(installedFile)) {
        qCDebug(lcNamespace, "namespace path from Resources: %s", qUtf8Printable(installedFile));
        return installedFile;
    }
    const QString path = QDir(executableFolder).filePath(QStringLiteral("namespace"));
    qCDebug(lcNamespace, "namespace path from bundlePath: %s", qUtf8Printable(path));
    return path;
}

QString NVCNamespace::readNamespaceFile(const QString &path)
{
    qCDebug(lcNamespace, "will search for namespace in %s", qUtf8Printable(path));
    QFile file(path);
    QString resolved;
    if (file.open(QIODevice::ReadOnly))
        resolved = QString::fromUtf8(file.readAll()).trimmed();
    else if (file.exists())
        qCCritical(lcNamespace, "there was an error opening the namespace at %s", qUtf8Printable(path));
    qCInfo(lcNamespace, "resolved namespace: %s", qUtf8Printable(resolved));
    return resolved;
}

const NVCNamespace &NVCNamespace::globalNamespace()
{
    static const NVCNamespace instance(readNamespaceFile(namespaceFilePath(
        QString::fromLatin1(installedNamespaceFile),
        QFileInfo(QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget()).absolutePath())));
    return instance;
}

QString NVCNamespace::namespacedWithId(const QString &identifier)
{
    return globalNamespace().namespacedIdLogged(identifier);
}

QString NVCNamespace::namespacedIdLogged(const QString &identifier) const
{
    const QString result = namespacedIdWith(identifier);
    qCDebug(lcNamespace, "namespaced id %s --> %s", qUtf8Printable(identifier), qUtf8Printable(result));
    return result;
}

QString NVCNamespace::namespacedWithPath(const QString &path)
{
    const QString result = globalNamespace().namespacedPathWith(path);
    qCDebug(lcNamespace, "namespaced path %s --> %s", qUtf8Printable(path), qUtf8Printable(result));
    return result;
}

QString NVCNamespace::namespacedIdWith(const QString &identifier) const
{
    return namespacedString(identifier, QStringLiteral("."), QStringLiteral("."));
}

QString NVCNamespace::namespacedPathWith(const QString &path) const
{
    return namespacedString(path, QStringLiteral("/"), QStringLiteral("-"));
}

QString NVCNamespace::namespacedComponent(const QString &component, const QString &separator) const
{
    return component + separator + m_namespace;
}

QString NVCNamespace::namespacedString(const QString &string, const QString &componentSeparator,
                                       const QString &namespaceSeparator) const
{
    if (m_namespace.isEmpty())
        return string;
    QStringList components = string.split(componentSeparator);
    for (qsizetype i = 0; i < components.size(); ++i) {
        if (components[i].toLower() != QLatin1String(nvcIdentifier))
            continue;
        // An id that already carries the namespace ("com.norvalis.beta.x") stays as it is.
        const bool alreadyNamespaced = componentSeparator == namespaceSeparator &&
                                       i + 1 < components.size() && components[i + 1] == m_namespace;
        if (!alreadyNamespaced)
            components[i] = namespacedComponent(components[i], namespaceSeparator);
    }
    return components.join(componentSeparator);
}
