// A whole rule file through the reader, as the user's file, as the base
// system ruleset (whose set lines are options) or as the failsafe file (whose
// neighbouring paths merge); the first byte chooses.
#include "ProductFolders.h"
#include "RuleManager.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cstdint>

namespace {

QTemporaryDir *g_root = nullptr;

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    g_root = new QTemporaryDir;
    QDir().mkpath(g_root->filePath(QStringLiteral("system")));
    QDir().mkpath(g_root->filePath(QStringLiteral("shared")));
    qputenv("QUIVEN_SYSTEM_RULES_DIR", QFile::encodeName(g_root->filePath(QStringLiteral("system")) + u'/'));
    qputenv("QUIVEN_SHARED_DIR", QFile::encodeName(g_root->filePath(QStringLiteral("shared")) + u'/'));
    // The reader logs every skipped line; the fuzzer needs none of it.
    qSetMessagePattern(QString());
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const int role = data[0] % 3;
    const QString path = role == 0   ? ProductFolders::localUserFile()
                         : role == 1 ? ProductFolders::baseRulesetFiles().constFirst()
                                     : ProductFolders::failsafeFile();
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return 0;
    file.write(reinterpret_cast<const char *>(data + 1), qint64(size - 1));
    file.close();

    RuleManager rules;
    rules.addFileContents(path, role == 1);
    rules.rebuildRulesCache();
    for (const PolicyRulePtr &rule : rules.userPolicies())
        static_cast<void>(rules.validateRule(*rule));
    return 0;
}
