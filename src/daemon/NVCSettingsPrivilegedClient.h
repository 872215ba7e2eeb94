#pragma once

#include "NVCSettingsClient.h"

#include <QByteArray>
#include <optional>

class ComNorvalisNrsettingsdAuthorizedProtocolInterface;

// Archived authorization holder in weak reference mode around an external
// form: {"AuthorizationRefHolder": {"AuthorizationRef", "WeakReferenceMode",
// "LocalizedReason"}}.
QVariantMap authorizationHolderArchive(const QByteArray &externalForm, const QString &localizedReason);

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

    QString customizedAuthMessage;

    // Without an external form nothing is sent and the callback is not called.
    void setQUIVENSystemRuleSet(quint64 ruleSet, const std::optional<QByteArray> &authReference,
                                ErrorReply callback);
    void setQUIVENLearningMode(bool enabled, const std::optional<QByteArray> &authReference,
                               ErrorReply callback);
    void setQUIVENAdvancedMode(bool enabled, const QVariantMap &authorization, ErrorReply callback);
    void setQUIVENNonAdminCanSaveRules(bool enabled, const QVariantMap &authorization, ErrorReply callback);

private:
    std::optional<QVariantMap> holderFor(const std::optional<QByteArray> &authReference) const;
    void send(const QDBusPendingCall &call, const ErrorReply &callback);

    ComNorvalisNrsettingsdAuthorizedProtocolInterface *m_authorized = nullptr;
};
