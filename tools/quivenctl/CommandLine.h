#pragma once

#include <QCommandLineParser>
#include <QJsonDocument>
#include <QStringList>

// Helpers every command family of the tool shares: argument parsing with the
// tool's exit-code convention and JSON output on standard output.
namespace quivenctl {

constexpr int ExitSuccess = 0;
constexpr int ExitFailure = 1;
constexpr int ExitUsage = 2;

// Parses a command's arguments (those after its word). On a bad option prints
// the parser's message and `usage` to stderr and returns false.
bool parseArguments(QCommandLineParser &parser, const QStringList &arguments, const QString &usage);

// Prints `message` and the usage line to stderr; returns ExitUsage.
int usageError(const QString &message, const QString &usage);

// Writes one JSON document, UTF-8, followed by a newline.
void printJson(const QJsonDocument &document);

// Writes raw bytes to standard output.
void printBytes(const QByteArray &bytes);

} // namespace quivenctl
