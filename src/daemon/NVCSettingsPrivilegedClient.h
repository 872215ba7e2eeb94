#pragma once

#include "NVCSettingsClient.h"

#include <QByteArray>
#include <memory>
#include <optional>

class ComNorvalisNrsettingsdAuthorizedProtocolInterface;
class NVCAuthorization;
class NVCAuthorizationHolder;

// Changes the filter settings under an administrator authorization.
class NVCSettingsPrivilegedClient : public NVCSettingsClient
{
    Q_OBJECT
public:
    // Gets the daemon's error; an invalid QDBusError means success.
    using ErrorReply = std::function<void(const QDBusError &)>;

    explicit NVCSettingsPrivilegedClient(const QDBusConnection &bus,
                                         const NVCNamespace &nameSpace = NVCNamespace::globalNamespace(),
                                         QObject *parent = nullptr);
    ~NVCSettingsPrivilegedClient() override;

    // Prompt shown when the client has to ask for an authorization itself.
    QString customizedAuthMessage;

    // Builds and frees the authorizations this client makes; it talks to the
    // authority on the client's bus.
    const std::shared_ptr<NVCAuthorization> &authorization() const { return m_authorization; }

    // Without an external form the client asks the user for an authorization
    // with customizedAuthMessage and frees it once the daemon has answered. If
    // none is granted nothing is sent and the callback is not called.
    void setQUIVENSystemRuleSet(quint64 ruleSet, const std::optional<QByteArray> &authReference,
                                ErrorReply callback);
    void setQUIVENLearningMode(bool enabled, const std::optional<QByteArray> &authReference,
                               ErrorReply callback);
    // These send the holder as it is; the daemon's refusal, or a failed
    // connection, goes to the callback.
    void setQUIVENAdvancedMode(bool enabled, const NVCAuthorizationHolder &authorization,
                               ErrorReply callback);
    void setQUIVENNonAdminCanSaveRules(bool enabled, const NVCAuthorizationHolder &authorization,
                                       ErrorReply callback);

private:
    using AuthorizedCall = std::function<QDBusPendingCall(const QVariantMap &holderArchive)>;

    void sendAuthorized(const std::optional<QByteArray> &authReference, const AuthorizedCall &call,
                        ErrorReply callback);
    void sendWithExternalForm(const QByteArray &externalForm, const AuthorizedCall &call,
                              ErrorReply callback);
    void sendWithHolder(const QVariantMap &holderArchive, const AuthorizedCall &call,
                        const ErrorReply &callback);

    ComNorvalisNrsettingsdAuthorizedProtocolInterface *m_authorized = nullptr;
    std::shared_ptr<NVCAuthorization> m_authorization;
};
