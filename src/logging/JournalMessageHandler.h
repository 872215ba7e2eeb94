#pragma once

// Routes Qt's log messages to the systemd journal (with the logging category as
// a field) when the journal socket is reachable, and to stderr otherwise.
// Every executable of the product installs it first thing in main().
namespace quiven::logging {

void installJournalMessageHandler();

// True when messages currently go to the journal.
bool journalIsReachable();

} // namespace quiven::logging
