#pragma once

#include <QByteArray>
#include <QCommandLineOption>
#include <QString>
#include <QVariantMap>
#include <functional>
#include <memory>

// What a call that carries no authorization needs of its caller.
enum class CallerRight
{
    Administrator, // switching the filter
    LocalSession   // reloading, agents, the suggestion log: any user at the machine's active session
};

// Decides whether a caller may make a privileged change: with the
// authorization it sent (its 32-byte external form), or, for calls that carry
// none, by asking about the caller itself.
class PrivilegedChangeGate
{
public:
    using CallerDecision = std::function<void(bool allowed, const QString &refusal)>;

    virtual ~PrivilegedChangeGate() = default;
    virtual bool allow(const QByteArray &externalForm, uint callerUid, QString *error) = 0;
    // Answers later (possibly after the user was asked) through `done`, on the event loop.
    virtual void authorizeCaller(const QString &uniqueName, CallerRight right, bool allowInteraction,
                                 const CallerDecision &done) = 0;
};

// Allows every change. Only for private development buses (--insecure-dev).
class InsecureDevChangeGate : public PrivilegedChangeGate
{
public:
    bool allow(const QByteArray &externalForm, uint callerUid, QString *error) override;
    void authorizeCaller(const QString &uniqueName, CallerRight right, bool allowInteraction,
                         const CallerDecision &done) override;
};

// The external form inside an archived authorization holder; empty when absent.
QByteArray externalFormFromHolder(const QVariantMap &holderArchive);

// The option that opts a daemon on a private development bus out of the check.
QCommandLineOption insecureDevOption();

// Null with *error set when the bus is not a private one (DBUS_SYSTEM_BUS_ADDRESS).
std::unique_ptr<PrivilegedChangeGate> makeInsecureDevChangeGate(QString *error);
