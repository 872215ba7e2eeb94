#include "RuleManager.h"
#include "RuleText.h"

#include <QFile>
#include <QRandomGenerator>
#include <QStringDecoder>
#include <QTemporaryDir>
#include <gtest/gtest.h>

// Random rule files full of awkward bytes, read by the store and by a plain
// reader built here from the documented steps: decode the whole file, cut it
// at every line separator, split each line with scanString, keep the first of
// equal rules.
namespace {

using namespace Qt::StringLiterals;

const QList<QByteArray> kPieces{"allow",
                                "deny",
                                "watch",
                                "set",
                                "trace",
                                "prefix",
                                "path",
                                "suffix",
                                "rw",
                                "rwcmx",
                                "x",
                                "ust",
                                "17",
                                "-5",
                                "12x",
                                "\"/home/a b/\"",
                                "\"\"",
                                "\"caf\xc3\xa9\"",
                                "\"\xe2\x84\xaa\"",
                                "\"x\"\"y\"",
                                "\"open",
                                "\"/var/\" \"log\"",
                                "any",
                                "/usr/bin/app",
                                "\"/usr/bin/app via /bin/sh\"",
                                "TEAM123456",
                                ";",
                                "\xef\xbb\xbf",
                                "\"\xe2\x80\xa8\"",
                                "\xc2\x85",
                                "\t",
                                "\"a\xcc\x81\"",
                                "\xf0\x9f\x98\x80"};
const QList<QByteArray> kLineEnds{"\n",   "\r\n",     "\r",           "\x0b",
                                  "\x0c", "\xc2\x85", "\xe2\x80\xa8", "\xe2\x80\xa9"};
const QList<QByteArray> kFlaws{"\xc0\x80", "\xff", "\xe2\x80", "\xed\xa0\x80"};

// Lines are now and then taken again from `earlier`, the lines of this and
// earlier files, so that duplicates span files.
QByteArray randomFile(QRandomGenerator &random, QList<QByteArray> &earlier)
{
    QByteArray file = random.bounded(4) == 0 ? "\xef\xbb\xbf" : "";
    QList<QByteArray> lines;
    for (int i = random.bounded(1, 60); i > 0; --i) {
        if (!earlier.isEmpty() && random.bounded(4) == 0) {
            lines.append(earlier[random.bounded(earlier.size())]);
            continue;
        }
        QByteArray line;
        const QByteArray first[] = {"allow", "deny", "watch", "trace", "set"};
        line += first[random.bounded(5)];
        for (int words = random.bounded(1, 10); words > 0; --words)
            line += (random.bounded(8) ? " " : "  ") + kPieces[random.bounded(kPieces.size())];
        lines.append(line);
        earlier.append(line);
    }
    for (const QByteArray &line : lines)
        file += line + kLineEnds[random.bounded(kLineEnds.size())];
    if (random.bounded(10) == 0)
        file.insert(random.bounded(file.size() + 1), kFlaws[random.bounded(kFlaws.size())]);
    if (random.bounded(10) == 0)
        file.insert(random.bounded(file.size() + 1), '\0');
    return file;
}

bool isLineSeparator(QChar c)
{
    const char16_t u = c.unicode();
    return (u >= 0x0a && u <= 0x0d) || u == 0x85 || u == 0x2028 || u == 0x2029;
}

// Every field the reader sets, in one comparable text.
QString fieldsOf(const NVCRuleBase &rule)
{
    return u"%1|%2|%3|%4|%5|%6|%7"_s
        .arg(rule.toString(), rule.tag(), rule.processName().isNull() ? u"-"_s : u"+"_s)
        .arg(rule.flags)
        .arg(rule.sequence)
        .arg(rule.system)
        .arg(rule.constraint().isNull());
}

// The documented steps, with what was kept carried from file to file.
class PlainReader
{
public:
    // False when the file is not read to its end; `failingLine` then names a
    // short trace line, or stays 0.
    bool read(QByteArray bytes, bool system, qsizetype &failingLine);

    QMap<QString, QStringList> groups;
    QStringList watches;
    QStringList traces;
    qint64 sequence = 0;

private:
    QList<PolicyRulePtr> m_kept;
    QList<WatchRulePtr> m_keptWatches;
};

bool PlainReader::read(QByteArray bytes, bool system, qsizetype &failingLine)
{
    failingLine = 0;
    bytes.truncate(qstrnlen(bytes.constData(), std::size_t(bytes.size())));
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return false;
    qsizetype lineNumber = 1;
    qsizetype start = 0;
    for (qsizetype at = 0; at <= text.size(); ++at) {
        if (at < text.size() && !isLineSeparator(text[at]))
            continue;
        const QString line = text.mid(start, at - start);
        const qsizetype currentLine = lineNumber;
        if (at < text.size() && !(text[at] == u'\n' && at > 0 && text[at - 1] == u'\r'))
            ++lineNumber;
        start = at + 1;
        const QStringList words = RuleManager::scanString(line);
        if (line.startsWith(u';') || words.isEmpty() || (words[0] == u"set" && words.size() >= 3))
            continue;
        if (words[0] == u"trace") {
            if (words.size() < 3) {
                failingLine = currentLine;
                return false;
            }
            traces.append(words[1] + u'|' + words[2]);
            continue;
        }
        if (words.size() < 5)
            continue;
        const bool watch = words[0] == u"watch";
        RuleBasePtr rule =
            watch ? RuleBasePtr(std::make_shared<WatchRule>()) : RuleBasePtr(std::make_shared<PolicyRule>());
        if (!watch)
            rule->policyClass = RuleManager::policyClassForString(words[0]);
        rule->policyType = RuleManager::policyTypeForString(words[1]);
        rule->setPath(words[2]);
        rule->setProcessName(words[3]);
        rule->operations = RuleManager::operationsForString(words[4]);
        rule->system = system;
        rule->sequence = sequence++;
        if (words.size() > 5) {
            if (system)
                rule->flags = RuleManager::flagsForString(words[5]);
            else
                rule->setTag(words[5]);
        }
        if (!watch && words.size() > 6)
            rule->setConstraint(words[6]);
        if (!watch && words.size() > 7)
            rule->created = RuleText::leadingInteger(words[7]);
        if (watch) {
            const auto sameWatch = [&](const WatchRulePtr &other) { return other->isEqualTo(*rule); };
            if (std::none_of(m_keptWatches.cbegin(), m_keptWatches.cend(), sameWatch)) {
                m_keptWatches.append(std::static_pointer_cast<WatchRule>(rule));
                watches.append(fieldsOf(*rule));
            }
            continue;
        }
        const auto same = [&](const PolicyRulePtr &other) { return other->isEqualTo(*rule); };
        if (std::none_of(m_kept.cbegin(), m_kept.cend(), same)) {
            m_kept.append(std::static_pointer_cast<PolicyRule>(rule));
            groups[RuleManager::applicationGroupIdentityForRule(*rule)].append(fieldsOf(*rule));
        }
    }
    return true;
}

TEST(RuleReaderDifferential, RandomFilesReadAsThePlainReaderReadsThem)
{
    QTemporaryDir dir;
    QRandomGenerator random(20261122);
    for (int round = 0; round < 250; ++round) {
        RuleManager manager;
        PlainReader plain;
        QList<QByteArray> earlierLines;
        for (int files = random.bounded(1, 4); files > 0; --files) {
            const QByteArray bytes = randomFile(random, earlierLines);
            const bool system = random.bounded(3) == 0;
            const QString path = dir.filePath(u"r%1-%2.rc"_s.arg(round).arg(files));
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
            file.close();
            SCOPED_TRACE(bytes.toPercentEncoding(" \"/;").toStdString());

            qsizetype failingLine = 0;
            ASSERT_EQ(manager.addFileContents(path, system), plain.read(bytes, system, failingLine))
                << qPrintable(manager.lastErrorMessage());
            if (failingLine > 0) {
                EXPECT_TRUE(manager.lastErrorMessage().endsWith(
                    u"at line %1: a trace rule needs a path and a process"_s.arg(failingLine)))
                    << qPrintable(manager.lastErrorMessage());
            }
        }

        QMap<QString, QStringList> groups;
        for (auto group = manager.policyRulesByApplication().cbegin();
             group != manager.policyRulesByApplication().cend(); ++group) {
            for (const PolicyRulePtr &rule : *group)
                groups[group.key()].append(fieldsOf(*rule));
        }
        EXPECT_EQ(groups, plain.groups);
        QStringList watches;
        for (const WatchRulePtr &rule : manager.watchRules())
            watches.append(fieldsOf(*rule));
        EXPECT_EQ(watches, plain.watches);
        QStringList traces;
        for (const TraceRule &trace : manager.traceRules())
            traces.append(trace.path + u'|' + trace.processName);
        EXPECT_EQ(traces, plain.traces);
        EXPECT_EQ(manager.ruleSequence(), plain.sequence);
    }
}

} // namespace
