#pragma once

#include <QByteArray>
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

// Refuses every change: the default until a real check is wired in.
class RefusingChangeGate : public PrivilegedChangeGate
{
public:
    bool allow(const QByteArray &externalForm, uint callerUid, QString *error) override;
};

// Allows every change. Only for private development buses (--insecure-dev).
class InsecureDevChangeGate : public PrivilegedChangeGate
{
public:
    bool allow(const QByteArray &externalForm, uint callerUid, QString *error) override;
};

// The external form inside an archived authorization holder; empty when absent.
QByteArray externalFormFromHolder(const QVariantMap &holderArchive);

// Null with *error set when --insecure-dev is asked for on anything but a private bus.
std::unique_ptr<PrivilegedChangeGate> makeChangeGate(bool insecureDev, QString *error);
