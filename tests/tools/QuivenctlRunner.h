#pragma once

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>

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

// A temporary folder with helpers to drop rule files into it.
class RuleFolder
{
public:
    RuleFolder();
    QString write(const QString &relativePath, const QByteArray &content) const;
    QString path(const QString &relativePath = {}) const;

private:
    QTemporaryDir m_dir;
};
