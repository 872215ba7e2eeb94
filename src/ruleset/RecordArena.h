#pragma once

#include "PolicyRule.h"
#include "WatchRule.h"

#include <QByteArrayView>
#include <QStringDecoder>
#include <QStringView>
#include <memory>

// The records of one read, placed side by side in large blocks instead of one
// heap block each: a ruleset holds millions. Every record handed out shares
// one owner, so the blocks live until the last of them is released, and a
// record dropped early keeps its place until then. Records count as built when
// the arena was made: asking the clock for each one costs more than reading it.
class RecordArena
{
public:
    RecordArena();
    ~RecordArena();
    RecordArena(const RecordArena &) = delete;
    RecordArena &operator=(const RecordArena &) = delete;

    PolicyRulePtr newPolicyRule();
    WatchRulePtr newWatchRule();
    // `utf8` decoded into storage that lives as long as the records.
    QStringView keepText(QByteArrayView utf8, QStringDecoder &decoder);

private:
    struct Blocks;
    std::shared_ptr<Blocks> m_blocks;
};
