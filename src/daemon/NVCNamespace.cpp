#include "NVCNamespace.h"

#include <QCoreApplication>
#include <QFile>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcNamespace, "com.norvalis.NVCNamespace")

NVCNamespace::NVCNamespace(const QString &name)
    : m_namespace(name)
{}

QStringList NVCNamespace::namespaceFileCandidates()
{
    QStringList candidates;
    if (QCoreApplication::instance())
        candidates << QCoreApplication::applicationDirPath() + QStringLiteral("/namespace");
    candidates << QStringLiteral("/usr/share/quiven/namespace");
    return candidates;
}

QString NVCNamespace::readNamespaceFile(const QStringList &candidates)
{
    for (const QString &path : candidates) {
        qCDebug(lcNamespace, "will search for namespace in %s", qUtf8Printable(path));
        QFile file(path);
        if (!file.exists())
            continue;
        if (!file.open(QIODevice::ReadOnly)) {
            qCCritical(lcNamespace, "there was an error opening the namespace at %s", qUtf8Printable(path));
            continue;
        }
        const QString resolved = QString::fromUtf8(file.readAll()).trimmed();
        qCInfo(lcNamespace, "resolved namespace: %s", qUtf8Printable(resolved));
        return resolved;
    }
    return {};
}

const NVCNamespace &NVCNamespace::globalNamespace()
{
    static const NVCNamespace instance(readNamespaceFile(namespaceFileCandidates()));
    return instance;
}

QString NVCNamespace::namespacedWithId(const QString &identifier)
{
    const QString result = globalNamespace().namespacedIdWith(identifier);
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
