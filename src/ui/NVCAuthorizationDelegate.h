#pragma once

#include <QByteArray>
#include <QObject>
#include <optional>

// What the windows ask before a change: may the user change rules now, and the
// authorization to send with the change. The application controller answers.
class NVCAuthorizationDelegate : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isAuthorized READ isAuthorized NOTIFY isAuthorizedChanged)
public:
    using QObject::QObject;

    virtual bool isAuthorized() = 0;
    // The current authorization's 32-byte external form, or none.
    virtual std::optional<QByteArray> externalAuthForm() = 0;

Q_SIGNALS:
    void isAuthorizedChanged();
};
