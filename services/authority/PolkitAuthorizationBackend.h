#pragma once

#include "AuthorizationBackend.h"

#include <QDBusConnection>
#include <QObject>

// Asks polkit on the same bus whether the subject (by its bus name) holds one
// of the product's actions, showing the caller's message when it may prompt.
class PolkitAuthorizationBackend : public QObject, public AuthorizationBackend
{
    Q_OBJECT
public:
    explicit PolkitAuthorizationBackend(const QDBusConnection &connection, QObject *parent = nullptr);

    void check(const AuthorizationSubject &subject, const QString &actionId, const QString &message,
               bool allowInteraction, const Done &done) override;

    // Maps polkit's answer (is_authorized, is_challenge, details) to a status.
    static OSStatus statusForResult(bool authorized, bool challenge, const QMap<QString, QString> &details);
    static OSStatus statusForError(const QString &errorName);

private:
    QDBusConnection m_connection;
};
