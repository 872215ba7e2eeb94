#pragma once

#include "NVCRuleBase.h"
#include "PolicyRule.h"
#include "RuleLineEncoder.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

// One rule file being written. Each line must behave as if written by its own
// write() call: a short write is recorded (the last one wins) and the
// following lines are still tried. Lines are gathered into batches because a
// system call per line costs more than the whole text.
//
// Opening truncates the file, which for a large ruleset costs about as much
// as encoding it. A thread of its own therefore opens the file and then
// writes the batches in order while the caller encodes the next ones.
class RuleFileOutput
{
public:
    // Starts opening `path` for writing: created with mode 0644 when absent,
    // truncated when present, never through a symbolic link. Failures are
    // recorded in `lastErrorMessage`, which must not be read before finish().
    RuleFileOutput(const QString &path, QString &lastErrorMessage);
    ~RuleFileOutput();
    RuleFileOutput(const RuleFileOutput &) = delete;
    RuleFileOutput &operator=(const RuleFileOutput &) = delete;

    // Waits for the opening; true when the file is open.
    bool waitUntilOpen();
    // False, writing nothing, for a record that has no file line. Lines for a
    // file that failed to open are dropped.
    bool write(const NVCRuleBase &rule);
    // Writes the lines of the user's rules among `rules`, in order. A long
    // list is encoded in runs by this thread and a helper in turn.
    void writeUserRules(const QList<PolicyRulePtr> &rules);
    // Writes what is left, sets the mode and closes; true when the file was open.
    bool finish();

private:
    struct Batch
    {
        QByteArray bytes;
        std::vector<qsizetype> lineEnds;

        // Empty again, keeping the capacity for the next lines.
        void clear()
        {
            bytes.resize(0);
            lineEnds.clear();
        }
    };

    // The rule's line goes to `batch`, which goes to `full` once it is full;
    // false for a record that has no file line.
    template <typename Rule, typename Full>
    static bool appendLine(RuleLineEncoder &encoder, Batch &batch, const Rule &rule, Full full);
    // The lines of the user's rules in rules[from, to) go to `batch`, and every
    // batch that fills up to `full`.
    template <typename Full>
    static void encodeUserRules(const QList<PolicyRulePtr> &rules, qsizetype from, qsizetype to,
                                RuleLineEncoder &encoder, Batch &batch, Full full);
    void open();
    void hand(Batch &batch);
    void writeQueued(std::stop_token stop);
    void writeBatch(const Batch &batch);
    void continueAfterShortBatch(const Batch &batch, qsizetype written, int error);
    void writeLines(const Batch &batch, std::size_t firstLine);
    void recordFailure(int error);
    void startFlushing();

    const QString m_path;
    QString &m_lastErrorMessage;
    RuleLineEncoder m_encoder;
    Batch m_filling;
    // Once a batch comes back short, the rest goes out line by line, which is
    // what per-line calls would have produced on the same file.
    bool m_lineByLine = false;
    bool m_finished = false;
    // Bytes written so far, and how many of them the disk has been asked for.
    qint64 m_written = 0;
    qint64 m_flushStarted = 0;

    std::mutex m_mutex;
    std::condition_variable_any m_changed;
    bool m_openDone = false;
    int m_fd = -1;
    std::deque<Batch> m_queued;
    std::vector<Batch> m_spare;
    // Declared last: stopped and joined before the members it uses go. Without
    // it (no thread to be had) the file is opened and written by the caller.
    std::jthread m_writer;
};
