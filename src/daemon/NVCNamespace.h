#pragma once

#include <QString>
#include <QStringList>

// Turns service names and paths into their namespaced form, so that a second
// installation (e.g. a beta) can run beside the product. An empty namespace
// leaves everything unchanged.
class NVCNamespace
{
public:
    static constexpr auto nvcIdentifier = "norvalis";

    explicit NVCNamespace(const QString &name);

    static constexpr auto installedNamespaceFile = "/usr/share/quiven/namespace";

    // Read once per process from namespaceFilePath().
    static const NVCNamespace &globalNamespace();
    static QString namespacedWithId(const QString &identifier);
    static QString namespacedWithPath(const QString &path);
    // The installed resource when there is one, else the "namespace" file in
    // the executable's folder (which need not exist).
    static QString namespaceFilePath(const QString &installedFile, const QString &executableFolder);
    // The trimmed contents; empty when the file is missing or cannot be read.
    static QString readNamespaceFile(const QString &path);

    QString name() const { return m_namespace; }
    QString namespacedIdWith(const QString &identifier) const;
    // namespacedIdWith() with the log line of namespacedWithId().
    QString namespacedIdLogged(const QString &identifier) const;
    QString namespacedPathWith(const QString &path) const;
    QString namespacedComponent(const QString &component, const QString &separator) const;
    QString namespacedString(const QString &string, const QString &componentSeparator,
                             const QString &namespaceSeparator) const;

private:
    QString m_namespace;
};
