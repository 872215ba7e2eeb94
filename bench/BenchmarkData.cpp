#include "BenchmarkData.h"

#include "RuleManager.h"
#include "RulesetGenerator.h"

#include <QFile>
#include <QHash>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>
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

qint64 heapBytesInUse()
{
    char *text = nullptr;
    size_t size = 0;
    FILE *stream = open_memstream(&text, &size);
    if (!stream)
        return 0;
    malloc_info(0, stream);
    std::fclose(stream);
    const QByteArray info(text, qsizetype(size));
    std::free(text);
    // The totals over every arena follow the last arena's own figures.
    const QByteArray totals = info.mid(info.lastIndexOf("</heap>"));
    const auto figure = [&totals](const char *pattern) {
        const QRegularExpressionMatch match =
            QRegularExpression(QLatin1String(pattern)).match(QString::fromLatin1(totals));
        return match.hasMatch() ? match.captured(1).toLongLong() : 0;
    };
    return figure(R"re(<system type="current" size="(\d+)")re") -
           figure(R"re(<total type="fast" count="\d+" size="(\d+)")re") -
           figure(R"re(<total type="rest" count="\d+" size="(\d+)")re") +
           figure(R"re(<total type="mmap" count="\d+" size="(\d+)")re");
}

} // namespace bench
