#pragma once

#include "AuthorizationBackend.h"
#include "TokenStore.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <memory>

// The authority's bus object: grants the administrator right through the
// backend, hands out tokens for it and answers the daemons' checks.
class AuthorityService : public QObject, protected QDBusContext
{
    Q_OBJECT
public:
    AuthorityService(std::unique_ptr<AuthorizationBackend> backend, std::unique_ptr<TokenStore> tokens,
                     QObject *parent = nullptr);
    ~AuthorityService() override;

public Q_SLOTS:
    int Create(const QString &right, const QString &message, uint flags, QByteArray &token);
    int CopyRights(const QByteArray &token, const QString &right, const QString &message, uint flags);
    int Free(const QByteArray &token, uint flags);
    int Verify(const QByteArray &token, const QString &right, uint &uid);
    int CheckCaller(const QString &busName, const QString &action, bool interactive);

private:
    // The uid of the caller of the current message; nullopt when the bus does not say.
    std::optional<uint> callerUid() const;
    // Verify and CheckCaller serve the daemons only: root, or the authority's own user on a private bus.
    bool callerIsDaemon() const;
    // A live token that the caller may use: its own, or any for root.
    OSStatus lookupForCaller(const QByteArray &token, uint caller) const;
    static OSStatus checkRequest(const QString &right, uint flags);

    std::unique_ptr<AuthorizationBackend> m_backend;
    std::unique_ptr<TokenStore> m_tokens;
};
