#include "NVCNamespace.h"

#include "TestFiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <array>
#include <gtest/gtest.h>

TEST(NVCNamespace, NamespacesIdsAndPathsWithTheirOwnSeparators)
{
    const NVCNamespace beta(QStringLiteral("beta"));
    const std::array<std::array<const char *, 3>, 4> cases = {{
        {"com.norvalis.nrquivend", "com.norvalis.beta.nrquivend", "com.norvalis.nrquivend"},
        {"com.norvalis.beta.nrquivend", "com.norvalis.beta.nrquivend", "com.norvalis.beta.nrquivend"},
        {"/Library/Norvalis/x", "/Library/Norvalis/x", "/Library/Norvalis-beta/x"},
        {"org.example.norvalisx", "org.example.norvalisx", "org.example.norvalisx"},
    }};
    for (const auto &[input, id, path] : cases) {
        EXPECT_EQ(beta.namespacedIdWith(QString::fromLatin1(input)), QString::fromLatin1(id)) << input;
        EXPECT_EQ(beta.namespacedPathWith(QString::fromLatin1(input)), QString::fromLatin1(path)) << input;
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
    EXPECT_EQ(NVCNamespace::namespaceFilePath(installed, executableFolder), besideExecutable);
    EXPECT_EQ(NVCNamespace::readNamespaceFile(besideExecutable), QStringLiteral("beta"));

    // A folder: exists, so chosen, but cannot be read.
    ASSERT_TRUE(QDir().mkpath(installed));
    EXPECT_EQ(NVCNamespace::namespaceFilePath(installed, executableFolder), installed);
    EXPECT_EQ(NVCNamespace::readNamespaceFile(installed), QString());
}
