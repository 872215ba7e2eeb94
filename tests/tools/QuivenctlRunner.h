#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcessEnvironment>
#include <QStringList>

// Runs the built quivenctl with arguments, standard input and environment,
// and keeps what it printed.
struct QuivenctlRun
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;

    QJsonObject object() const { return QJsonDocument::fromJson(out).object(); }
};

QuivenctlRun runQuivenctl(const QStringList &arguments, const QByteArray &input = {},
                          const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment());
// The same for any program.
QuivenctlRun runChild(const QString &program, const QStringList &arguments, const QByteArray &input,
                      const QProcessEnvironment &environment);
