#include "ProductFolders.h"
#include "RuleLogging.h"
#include "RuleManager.h"
#include "RuleLineEncoder.h"
#include "RulePrefetch.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr mode_t kRulesetFileMode = 0644;
constexpr mode_t kUserConfigurationMode = 0640;

QString systemErrorText(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

// Writes rule lines to one open file. Each line must behave as if written by its
// own write() call: a short write is recorded (the last one wins) and the
// following lines are still tried. Lines are gathered into batches because a
// system call per line costs more than the whole text; once a batch comes back
// short, the rest goes out line by line, which is what per-line calls would
// have produced on the same file.
class RuleLineSink
{
public:
    RuleLineSink(int fd, const QString &path, QString &lastErrorMessage)
        : m_fd(fd)
        , m_path(path)
        , m_lastErrorMessage(lastErrorMessage)
    {
        m_batch.reserve(kBatchSize);
    }

    ~RuleLineSink() { flush(); }

    // False, writing nothing, for a record that has no file line.
    bool write(const NVCRuleBase &rule)
    {
        if (!m_encoder.append(m_batch, rule))
            return false;
        m_lineEnds.push_back(m_batch.size());
        if (m_lineByLine || m_batch.size() >= kBatchSize)
            flush();
        return true;
    }

private:
    static constexpr qsizetype kBatchSize = 64 * 1024;

    void flush()
    {
        if (m_batch.isEmpty())
            return;
        if (m_lineByLine) {
            writeLines(0);
        } else {
            const ssize_t written = ::write(m_fd, m_batch.constData(), size_t(m_batch.size()));
            if (written != ssize_t(m_batch.size()))
                continueAfterShortBatch(written < 0 ? 0 : qsizetype(written), errno);
        }
        m_batch.resize(0);
        m_lineEnds.clear();
    }

    void continueAfterShortBatch(qsizetype written, int error)
    {
        m_lineByLine = true;
        size_t line = 0;
        while (m_lineEnds[line] <= written)
            ++line;
        const qsizetype lineStart = line == 0 ? 0 : m_lineEnds[line - 1];
        if (written > lineStart) {
            recordFailure(error);
            ++line;
        }
        writeLines(line);
    }

    void writeLines(size_t firstLine)
    {
        for (size_t line = firstLine; line < m_lineEnds.size(); ++line) {
            const qsizetype start = line == 0 ? 0 : m_lineEnds[line - 1];
            const size_t length = size_t(m_lineEnds[line] - start);
            if (::write(m_fd, m_batch.constData() + start, length) != ssize_t(length))
                recordFailure(errno);
        }
    }

    void recordFailure(int error)
    {
        m_lastErrorMessage =
            QCoreApplication::translate("RuleManager", "Failed write() operation on file '%1' %2 (%3)")
                .arg(m_path, systemErrorText(error))
                .arg(error);
        qCWarning(lcRuleManagement).noquote() << m_lastErrorMessage;
    }

    int m_fd;
    const QString &m_path;
    QString &m_lastErrorMessage;
    RuleLineEncoder m_encoder;
    QByteArray m_batch;
    std::vector<qsizetype> m_lineEnds;
    bool m_lineByLine = false;
};

int openForWriting(const QString &path, QString &lastErrorMessage)
{
    const QByteArray name = QFile::encodeName(path);
    const int fd =
        ::open(name.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, kRulesetFileMode);
    if (fd < 0) {
        const int error = errno;
        lastErrorMessage =
            QCoreApplication::translate("RuleManager", "Failed to open file '%1' for writing: %2 (%3)")
                .arg(path, systemErrorText(error))
                .arg(error);
        qCWarning(lcRuleManagement).noquote() << lastErrorMessage;
    }
    return fd;
}

void finishFile(int fd)
{
    // The mode is set on the open descriptor so that it lands on the file just
    // written, never on whatever the path names by now.
    ::fchmod(fd, kRulesetFileMode);
    ::close(fd);
}

} // namespace

bool RuleManager::writeToFile(const QString &path)
{
    QMutexLocker locker(&m_lock);
    m_lastErrorMessage = QString();
    const int fd = openForWriting(path, m_lastErrorMessage);
    if (fd < 0)
        return false;

    // Every user rule is written whatever the table shows; the filtered view is
    // put back exactly afterwards so the table keeps its rows and order.
    const bool wasFiltered = !m_searchString.isNull();
    QList<PolicyRulePtr> keptPolicyRules;
    QList<RuleBasePtr> keptCompositeIndex;
    QList<RuleBasePtr> keptCompositeIndexUserOnly;
    QString keptSearchString;
    if (wasFiltered) {
        keptPolicyRules = m_policyRules;
        keptCompositeIndex = m_compositeIndex;
        keptCompositeIndexUserOnly = m_compositeIndexUserOnly;
        keptSearchString = m_searchString;
        m_searchString = QString();
        rebuildRulesCache();
    }

    {
        RuleLineSink sink(fd, path, m_lastErrorMessage);
        for (const WatchRulePtr &rule : std::as_const(m_watchRules)) {
            if (rule && !rule->system)
                sink.write(*rule);
        }
        const QList<PolicyRulePtr> &rules = m_policyRules;
        constexpr qsizetype distance = 8;
        for (qsizetype i = 0; i < rules.size(); ++i) {
            if (i + distance < rules.size() && rules[i + distance])
                prefetchRuleData(rules[i + distance].get());
            if (i + distance / 2 < rules.size() && rules[i + distance / 2])
                prefetchRuleData(rules[i + distance / 2]->path.constData());
            const PolicyRulePtr &rule = rules[i];
            if (rule && !rule->system)
                sink.write(*rule);
        }
    }
    finishFile(fd);

    if (wasFiltered) {
        m_searchString = keptSearchString;
        m_policyRules = std::move(keptPolicyRules);
        m_compositeIndex = std::move(keptCompositeIndex);
        m_compositeIndexUserOnly = std::move(keptCompositeIndexUserOnly);
    }
    return true;
}

bool RuleManager::writeToFile(const QString &path, const QList<RuleBasePtr> &policiesToWrite)
{
    m_lastErrorMessage = QString();
    const int fd = openForWriting(path, m_lastErrorMessage);
    if (fd < 0)
        return false;

    {
        RuleLineSink sink(fd, path, m_lastErrorMessage);
        for (const RuleBasePtr &rule : policiesToWrite) {
            if (!rule || !sink.write(*rule)) {
                qCWarning(lcRuleManagement).noquote()
                    << QStringLiteral("%1: Don't know how to render rule object %2")
                           .arg(QLatin1String("-[RuleManager writeToFile:policiesToWrite:]"),
                                rule ? rule->description() : QStringLiteral("(null)"));
            }
        }
    }
    finishFile(fd);
    return true;
}

void RuleManager::writeToCurrentUserConfiguration()
{
    const QString path = ProductFolders::localUserFile();
    if (!writeToFile(path))
        return;
    // The user's own ruleset is not for other accounts to read.
    if (::chmod(QFile::encodeName(path).constData(), kUserConfigurationMode) != 0) {
        const int error = errno;
        qCWarning(lcRuleManagement).noquote() << QStringLiteral("Failed to set the mode of '%1': %2 (%3)")
                                                     .arg(path, systemErrorText(error))
                                                     .arg(error);
    }
}

void RuleManager::copyUserRulesetTo(const QUrl &destination,
                                    const std::optional<QList<RuleBasePtr>> &selection)
{
    const QString path = destination.toLocalFile();
    bool written;
    if (selection) {
        qCDebug(lcRuleManagement).noquote()
            << QStringLiteral("Copying %1 selected policies to %2").arg(selection->size()).arg(path);
        written = writeToFile(path, *selection);
    } else {
        qCDebug(lcRuleManagement).noquote() << QStringLiteral("Copying all policies to %1").arg(path);
        written = writeToFile(path);
    }
    if (!written) {
        qCWarning(lcRuleManagement).noquote()
            << QStringLiteral("Error occurred when copy user ruleset to destination %1: %2")
                   .arg(path, m_lastErrorMessage);
        return;
    }
    // Showing the file in the desktop's file manager is the interface layer's
    // business: this library stays free of GUI modules.
    qCInfo(lcRuleManagement).noquote() << QStringLiteral("Exported rules to %1").arg(path);
}

QString RuleManager::manicurePath(const QString &path, const QString &homePath,
                                  const std::function<bool(const QString &)> &fileExists)
{
    if (path.isNull())
        return QString();
    if (path == QLatin1String("any"))
        return QStringLiteral("");
    QString result = path;
    if (!homePath.isNull()) {
        result.replace(QLatin1String("$HOME"), homePath);
        if (result.startsWith(QLatin1String("~/")))
            result = homePath + u'/' + QStringView(result).mid(2);
    }
    if (result.startsWith(QLatin1String("/Applications/"))) {
        const QString candidate = QLatin1String("/System") + result;
        if (fileExists && fileExists(candidate))
            return candidate;
    }
    return result;
}

QString RuleManager::manicurePath(const QString &path, const QString &homePath)
{
    return manicurePath(path, homePath,
                        [](const QString &candidate) { return QFileInfo::exists(candidate); });
}
