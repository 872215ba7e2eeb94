#pragma once

#include <QByteArray>
#include <QCommandLineOption>
#include <QString>
#include <QVariantMap>
#include <memory>

// Decides whether a caller may make a privileged change with the
// authorization it sent (its 32-byte external form).
class PrivilegedChangeGate
{
public:
    virtual ~PrivilegedChangeGate() = default;
    virtual bool allow(const QByteArray &externalForm, uint callerUid, QString *error) = 0;
};

// Allows every change. Only for private development buses (--insecure-dev).
class InsecureDevChangeGate : public PrivilegedChangeGate
{
public:
    bool allow(const QByteArray &externalForm, uint callerUid, QString *error) override;
};

// The external form inside an archived authorization holder; empty when absent.
QByteArray externalFormFromHolder(const QVariantMap &holderArchive);

// The option that opts a daemon on a private development bus out of the check.
QCommandLineOption insecureDevOption();

// Null with *error set when the bus is not a private one (DBUS_SYSTEM_BUS_ADDRESS).
std::unique_ptr<PrivilegedChangeGate> makeInsecureDevChangeGate(QString *error);
