#pragma once

// Routes Qt's log messages to the systemd journal (with the logging category as
// a field) when the journal socket is reachable, and to stderr otherwise.
// Every executable of the product installs it first thing in main().
#include <QString>

namespace quiven::logging {

void installJournalMessageHandler();

// The text with every control character and line separator written as an
// escape (\n, \r, \t, \uXXXX), so caller-supplied text cannot start a fake
// line on stderr. The journal keeps each message as one field and needs none.
QString escapeControlCharacters(const QString &text);

// True when messages currently go to the journal.
bool journalIsReachable();

} // namespace quiven::logging
