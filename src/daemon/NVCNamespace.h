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

    // Read once per process from a "namespace" file next to the executable,
    // else from the installed share folder.
    static const NVCNamespace &globalNamespace();
    static QString namespacedWithId(const QString &identifier);
    static QString namespacedWithPath(const QString &path);
    // The files globalNamespace() looks at, in order.
    static QStringList namespaceFileCandidates();
    static QString readNamespaceFile(const QStringList &candidates);

    QString name() const { return m_namespace; }
    QString namespacedIdWith(const QString &identifier) const;
    QString namespacedPathWith(const QString &path) const;
    QString namespacedComponent(const QString &component, const QString &separator) const;
    QString namespacedString(const QString &string, const QString &componentSeparator,
                             const QString &namespaceSeparator) const;

private:
    QString m_namespace;
};
