#include "NVCNamespace.h"

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

TEST(NVCNamespace, FileIsTrimmedAndFirstExistingCandidateWins)
{
    QTemporaryDir dir;
    QFile file(dir.filePath(QStringLiteral("namespace")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(" beta\n\n");
    file.close();
    EXPECT_EQ(NVCNamespace::readNamespaceFile({dir.filePath(QStringLiteral("missing")), file.fileName()}),
              QStringLiteral("beta"));
    EXPECT_EQ(NVCNamespace::readNamespaceFile({dir.filePath(QStringLiteral("missing"))}), QString());
}
