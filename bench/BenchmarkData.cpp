#include "BenchmarkData.h"

#include "RuleManager.h"
#include "RulesetGenerator.h"

#include <QFile>
#include <QHash>
#include <QTemporaryDir>
#include <malloc.h>
#include <unistd.h>

namespace bench {
namespace {

using Key = std::pair<qint64, qint64>;

QTemporaryDir &scratch()
{
    static QTemporaryDir dir;
    return dir;
}

} // namespace

const QByteArray &rulesetText(qint64 rules, qint64 sharedGroupRules)
{
    static QHash<Key, QByteArray> texts;
    const Key key{rules, sharedGroupRules};
    auto it = texts.find(key);
    if (it == texts.end())
        it = texts.insert(key, generateRuleset({qsizetype(rules), kSeed, qsizetype(sharedGroupRules)}));
    return *it;
}

const QString &rulesetFile(qint64 rules, qint64 sharedGroupRules)
{
    static QHash<Key, QString> files;
    const Key key{rules, sharedGroupRules};
    auto it = files.find(key);
    if (it == files.end()) {
        const QString path = scratchFile(QStringLiteral("rules-%1-%2.rc").arg(rules).arg(sharedGroupRules));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(rulesetText(rules, sharedGroupRules)) < 0)
            qFatal("cannot write benchmark ruleset %s", qPrintable(path));
        it = files.insert(key, path);
    }
    return *it;
}

std::unique_ptr<RuleManager> loadedManager(qint64 rules, qint64 sharedGroupRules)
{
    return RuleManager::withContentsOfFile(rulesetFile(rules, sharedGroupRules), false);
}

QString scratchFile(const QString &name)
{
    return scratch().filePath(name);
}

qint64 residentBytes()
{
    malloc_trim(0);
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields[1].toLongLong() * sysconf(_SC_PAGESIZE) : 0;
}

} // namespace bench
