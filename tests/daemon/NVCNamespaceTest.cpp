#include "NVCNamespace.h"

#include "TestFiles.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

TEST(NVCNamespace, NamespacesIdsAndPathsWithTheirOwnSeparators)
{
    const NVCNamespace beta(QStringLiteral("beta"));
    const struct
    {
        QString input;
        QString id;
        QString path;
    } cases[] = {
        {QStringLiteral("com.norvalis.nrquivend"), QStringLiteral("com.norvalis.beta.nrquivend"),
         QStringLiteral("com.norvalis.nrquivend")},
        {QStringLiteral("com.norvalis.beta.nrquivend"), QStringLiteral("com.norvalis.beta.nrquivend"),
         QStringLiteral("com.norvalis.beta.nrquivend")},
        {QStringLiteral("com.NorValis.x"), QStringLiteral("com.NorValis.beta.x"),
         QStringLiteral("com.NorValis.x")},
        {QStringLiteral("/Library/Norvalis/x"), QStringLiteral("/Library/Norvalis/x"),
         QStringLiteral("/Library/Norvalis-beta/x")},
        {QStringLiteral("org.example.norvalisx"), QStringLiteral("org.example.norvalisx"),
         QStringLiteral("org.example.norvalisx")},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(beta.namespacedIdWith(c.input), c.id) << c.input.toStdString();
        EXPECT_EQ(beta.namespacedPathWith(c.input), c.path) << c.input.toStdString();
    }
    EXPECT_EQ(NVCNamespace(QString()).namespacedIdWith(QStringLiteral("com.norvalis.a")),
              QStringLiteral("com.norvalis.a"));
}

TEST(NVCNamespace, InstalledFileWinsEvenUnreadableAndGivesTheEmptyNamespaceThen)
{
    QTemporaryDir dir;
    const QString installed = dir.filePath(QStringLiteral("installed"));
    const QString executableFolder = dir.filePath(QStringLiteral("bin"));
    const QString besideExecutable = executableFolder + QStringLiteral("/namespace");
    ASSERT_TRUE(writeFile(besideExecutable, " beta\n\n"));

    // No installed file: the one beside the executable, trimmed.
    EXPECT_EQ(NVCNamespace::namespaceFilePath(installed, executableFolder), besideExecutable);
    EXPECT_EQ(NVCNamespace::readNamespaceFile(besideExecutable), QStringLiteral("beta"));
    EXPECT_EQ(NVCNamespace::readNamespaceFile(dir.filePath(QStringLiteral("missing"))), QString());

    // An installed file that exists but cannot be read (a folder here) is still
    // the one chosen, and reads as no namespace.
    ASSERT_TRUE(QDir().mkpath(installed));
    EXPECT_EQ(NVCNamespace::namespaceFilePath(installed, executableFolder), installed);
    EXPECT_EQ(NVCNamespace::readNamespaceFile(installed), QString());
}
