#include "RuleFileOutput.h"

#include "RuleLogging.h"
#include "RulePrefetch.h"

#include <QCoreApplication>
#include <QFile>
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

constexpr mode_t kRulesetFileMode = 0644;
constexpr qsizetype kBatchSize = 64 * 1024;
// Batches waiting while the file is opened or written: enough to keep
// encoding through a slow truncation, few enough to bound the memory.
constexpr std::size_t kMostQueued = 128;
// Lines encoded by one thread before the other thread's next run follows.
constexpr qsizetype kRulesPerRun = 4096;

} // namespace

RuleFileOutput::RuleFileOutput(const QString &path, QString &lastErrorMessage)
    : m_path(path)
    , m_lastErrorMessage(lastErrorMessage)
{
    m_filling.bytes.reserve(kBatchSize);
    try {
        m_writer = std::jthread([this](std::stop_token stop) {
            open();
            writeQueued(stop);
        });
    } catch (const std::system_error &) {
        open();
    }
}

RuleFileOutput::~RuleFileOutput()
{
    finish();
}

void RuleFileOutput::open()
{
    const QByteArray name = QFile::encodeName(m_path);
    const int fd =
        ::open(name.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, kRulesetFileMode);
    if (fd < 0) {
        const int error = errno;
        m_lastErrorMessage =
            QCoreApplication::translate("RuleManager", "Failed to open file '%1' for writing: %2 (%3)")
                .arg(m_path, systemErrorText(error))
                .arg(error);
        qCWarning(lcRuleManagement).noquote() << m_lastErrorMessage;
    }
    const std::lock_guard lock(m_mutex);
    m_fd = fd;
    m_openDone = true;
    m_changed.notify_all();
}

bool RuleFileOutput::waitUntilOpen()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_openDone; });
    return m_fd >= 0;
}

template <typename Rule, typename Full>
bool RuleFileOutput::appendLine(RuleLineEncoder &encoder, Batch &batch, const Rule &rule, Full full)
{
    if (!encoder.append(batch.bytes, rule))
        return false;
    batch.lineEnds.push_back(batch.bytes.size());
    if (batch.bytes.size() >= kBatchSize)
        full(batch);
    return true;
}

bool RuleFileOutput::write(const NVCRuleBase &rule)
{
    return appendLine(m_encoder, m_filling, rule, [this](Batch &batch) { hand(batch); });
}

template <typename Full>
void RuleFileOutput::encodeUserRules(const QList<PolicyRulePtr> &rules, qsizetype from, qsizetype to,
                                     RuleLineEncoder &encoder, Batch &batch, Full full)
{
    // Rules lie scattered in memory: each is asked for a few lines ahead.
    constexpr qsizetype distance = 8;
    for (qsizetype i = from; i < to; ++i) {
        if (i + distance < to && rules[i + distance])
            prefetchRuleData(rules[i + distance].get());
        if (i + distance / 2 < to && rules[i + distance / 2]) {
            // Then its path, and where its process and constraint texts are kept.
            const PolicyRule &ahead = *rules[i + distance / 2];
            prefetchRuleData(ahead.pathView().data());
            prefetchRuleData(&ahead.processName());
            prefetchRuleData(&ahead.constraint());
        }
        if (i + distance / 4 < to && rules[i + distance / 4]) {
            // And last those texts themselves.
            const PolicyRule &ahead = *rules[i + distance / 4];
            prefetchRuleData(ahead.processName().constData());
            prefetchRuleData(ahead.constraint().constData());
        }
        const PolicyRulePtr &rule = rules[i];
        if (rule && !rule->system)
            appendLine(encoder, batch, *rule, full);
    }
}

void RuleFileOutput::writeUserRules(const QList<PolicyRulePtr> &rules)
{
    auto handFull = [this](Batch &batch) { hand(batch); };
    const qsizetype runs = (rules.size() + kRulesPerRun - 1) / kRulesPerRun;
    auto runStart = [&rules](qsizetype run) { return std::min(run * kRulesPerRun, rules.size()); };

    // The helper encodes every odd run into batches of its own and hands them
    // over whole; it works one run ahead of this thread at most.
    std::mutex mutex;
    std::condition_variable_any ready;
    std::vector<Batch> helperBatches;
    qsizetype helperRun = -1; // the run whose batches wait in helperBatches
    qsizetype takenRun = -1;
    std::jthread helper;
    if (runs > 2) {
        try {
            helper = std::jthread([&](std::stop_token stop) {
                RuleLineEncoder encoder;
                for (qsizetype run = 1; run < runs && !stop.stop_requested(); run += 2) {
                    std::vector<Batch> batches;
                    Batch filling;
                    auto keepFull = [&batches](Batch &full) {
                        batches.push_back(std::move(full));
                        full = Batch{};
                    };
                    encodeUserRules(rules, runStart(run), runStart(run + 1), encoder, filling, keepFull);
                    keepFull(filling);
                    std::unique_lock lock(mutex);
                    if (!ready.wait(lock, stop, [&] { return takenRun == run - 2; }))
                        return; // this thread is leaving without the rest
                    helperBatches = std::move(batches);
                    helperRun = run;
                    ready.notify_all();
                }
            });
        } catch (const std::system_error &) {
            // No thread to be had: this thread encodes every run.
        }
    }
    if (!helper.joinable()) {
        encodeUserRules(rules, 0, rules.size(), m_encoder, m_filling, handFull);
        return;
    }
    for (qsizetype run = 0; run < runs; run += 2) {
        encodeUserRules(rules, runStart(run), runStart(run + 1), m_encoder, m_filling, handFull);
        if (run + 1 >= runs)
            break;
        std::vector<Batch> batches;
        {
            std::unique_lock lock(mutex);
            ready.wait(lock, [&] { return helperRun == run + 1; });
            batches = std::move(helperBatches);
            takenRun = run + 1;
            ready.notify_all();
        }
        // The lines encoded here so far come first.
        if (!m_filling.bytes.isEmpty())
            hand(m_filling);
        for (Batch &batch : batches) {
            if (!batch.bytes.isEmpty())
                hand(batch);
        }
    }
}

bool RuleFileOutput::finish()
{
    if (m_finished)
        return m_fd >= 0;
    m_finished = true;
    if (!m_filling.bytes.isEmpty())
        hand(m_filling);
    if (m_writer.joinable()) {
        m_writer.request_stop();
        m_writer.join();
    }
    if (m_fd < 0)
        return false;
    // The mode is set on the open descriptor so that it lands on the file just
    // written, never on whatever the path names by now.
    ::fchmod(m_fd, kRulesetFileMode);
    ::close(m_fd);
    return true;
}

void RuleFileOutput::hand(Batch &batch)
{
    if (!m_writer.joinable()) {
        if (m_fd >= 0)
            writeBatch(batch);
        batch.clear();
        return;
    }
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_queued.size() < kMostQueued || (m_openDone && m_fd < 0); });
    if (m_openDone && m_fd < 0) {
        batch.clear();
        return;
    }
    m_queued.push_back(std::move(batch));
    if (m_spare.empty()) {
        batch = Batch{};
        batch.bytes.reserve(kBatchSize);
    } else {
        batch = std::move(m_spare.back());
        m_spare.pop_back();
    }
    m_changed.notify_all();
}

void RuleFileOutput::writeQueued(std::stop_token stop)
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, stop, [this] { return !m_queued.empty(); });
        if (m_queued.empty())
            return; // asked to stop, and everything handed over is written
        Batch batch = std::move(m_queued.front());
        m_queued.pop_front();
        m_changed.notify_all();
        lock.unlock();
        if (m_fd >= 0)
            writeBatch(batch);
        batch.clear();
        lock.lock();
        m_spare.push_back(std::move(batch));
    }
}

void RuleFileOutput::writeBatch(const Batch &batch)
{
    if (m_lineByLine) {
        writeLines(batch, 0);
        return;
    }
    const ssize_t written = ::write(m_fd, batch.bytes.constData(), size_t(batch.bytes.size()));
    if (written != ssize_t(batch.bytes.size())) {
        continueAfterShortBatch(batch, written < 0 ? 0 : qsizetype(written), errno);
        return;
    }
    m_written += written;
    startFlushing();
}

void RuleFileOutput::startFlushing()
{
    // A file truncated and written again is flushed whole when it is closed
    // on some file systems, on the thread that closes it. Asking for each
    // written stretch as it is done spreads that over the writing. Only a
    // hint: where it cannot be done, closing flushes the file as before.
    constexpr qint64 kFlushStretch = 512 * 1024;
    if (m_written - m_flushStarted < kFlushStretch)
        return;
    ::sync_file_range(m_fd, m_flushStarted, m_written - m_flushStarted, SYNC_FILE_RANGE_WRITE);
    m_flushStarted = m_written;
}

void RuleFileOutput::continueAfterShortBatch(const Batch &batch, qsizetype written, int error)
{
    m_lineByLine = true;
    std::size_t line = 0;
    while (batch.lineEnds[line] <= written)
        ++line;
    const qsizetype lineStart = line == 0 ? 0 : batch.lineEnds[line - 1];
    if (written > lineStart) {
        recordFailure(error);
        ++line;
    }
    writeLines(batch, line);
}

void RuleFileOutput::writeLines(const Batch &batch, std::size_t firstLine)
{
    for (std::size_t line = firstLine; line < batch.lineEnds.size(); ++line) {
        const qsizetype start = line == 0 ? 0 : batch.lineEnds[line - 1];
        const std::size_t length = std::size_t(batch.lineEnds[line] - start);
        if (::write(m_fd, batch.bytes.constData() + start, length) != ssize_t(length))
            recordFailure(errno);
    }
}

void RuleFileOutput::recordFailure(int error)
{
    m_lastErrorMessage =
        QCoreApplication::translate("RuleManager", "Failed write() operation on file '%1' %2 (%3)")
            .arg(m_path, systemErrorText(error))
            .arg(error);
    qCWarning(lcRuleManagement).noquote() << m_lastErrorMessage;
}
