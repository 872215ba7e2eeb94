#pragma once

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <ostream>

inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << text.toStdString() << '"';
}

// Temporary system-rules and shared folders, put in place of the product's
// folders for the duration of one test.
class RulesetFolders : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_root.isValid());
        ASSERT_TRUE(QDir(m_root.path()).mkpath("system"));
        ASSERT_TRUE(QDir(m_root.path()).mkpath("shared"));
        // Without the trailing slash on purpose: the folders must add it.
        qputenv("QUIVEN_SYSTEM_RULES_DIR", QFile::encodeName(m_root.filePath("system")));
        qputenv("QUIVEN_SHARED_DIR", QFile::encodeName(m_root.filePath("shared")));
    }

    void TearDown() override
    {
        qunsetenv("QUIVEN_SYSTEM_RULES_DIR");
        qunsetenv("QUIVEN_SHARED_DIR");
    }

    QString systemFile(const QString &name) const { return m_root.filePath("system/" + name); }
    QString sharedFile(const QString &name) const { return m_root.filePath("shared/" + name); }
    QString scratchFile(const QString &name) const { return m_root.filePath(name); }

    static QString dataFile(const QString &name)
    {
        return QStringLiteral(QUIVEN_SOURCE_DIR "/tests/data/") + name;
    }

    // Copies a file of tests/data to `destination`.
    static void install(const QString &dataName, const QString &destination)
    {
        QFile::remove(destination);
        ASSERT_TRUE(QFile::copy(dataFile(dataName), destination)) << qPrintable(destination);
    }

    static void write(const QString &destination, const QByteArray &contents)
    {
        QFile file(destination);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        ASSERT_EQ(file.write(contents), contents.size());
    }

private:
    QTemporaryDir m_root;
};
