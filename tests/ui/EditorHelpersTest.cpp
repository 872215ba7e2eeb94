#include "TestFiles.h"
#include "Utilities.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

TEST(EditorHelpers, NormalizePathResolvesAbbreviatesAndMarksFolders)
{
    QTemporaryDir home;
    ASSERT_TRUE(QDir(home.path()).mkpath(QStringLiteral("real/inner")));
    ASSERT_TRUE(QFile::link(home.filePath(QStringLiteral("real")), home.filePath(QStringLiteral("link"))));
    ASSERT_TRUE(writeFile(home.filePath(QStringLiteral("real/notes.txt")), {}));

    const QByteArray previousHome = qgetenv("HOME");
    qputenv("HOME", home.path().toUtf8());
    EXPECT_EQ(Utilities::normalizePath(QStringLiteral("~/link/./inner/..")), QStringLiteral("~/real/"));
    EXPECT_EQ(Utilities::normalizePath(home.filePath(QStringLiteral("link/notes.txt"))),
              QStringLiteral("~/real/notes.txt"));
    EXPECT_EQ(Utilities::normalizePath(QStringLiteral("~/missing/file")), QStringLiteral("~/missing/file"));
    EXPECT_EQ(Utilities::normalizePath(QStringLiteral("/usr/bin/cp via any")),
              QStringLiteral("/usr/bin/cp via any"));
    qputenv("HOME", previousHome);
}
