#include "NVCSettingsPrivilegedClient.h"

#include "NVCAuthorization.h"
#include "NVCAuthorizationHolder.h"
#include "nrsettingsdAuthorizedProtocolProxy.h"

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcSettingsPrivilegedClient, "com.norvalis.NVCSettingsPrivilegedClient")

namespace {
// Type 1 is an authorization with the administrator right and our prompt.
constexpr unsigned long kAuthorizationTypeWithRights = 1;
} // namespace

NVCSettingsPrivilegedClient::NVCSettingsPrivilegedClient(const QDBusConnection &bus,
                                                         const NVCNamespace &nameSpace, QObject *parent)
    : NVCSettingsClient(bus, nameSpace, parent)
    , m_authorization(std::make_shared<NVCAuthorization>(this->bus()))
{
    m_authorized =
        new ComNorvalisNrsettingsdAuthorizedProtocolInterface(serviceName(), objectPath(), this->bus(), this);
}

NVCSettingsPrivilegedClient::~NVCSettingsPrivilegedClient() = default;

void NVCSettingsPrivilegedClient::sendAuthorized(const std::optional<QByteArray> &authReference,
                                                 const AuthorizedCall &call, ErrorReply callback)
{
    if (authReference) {
        sendWithExternalForm(*authReference, call, std::move(callback));
        return;
    }
    AuthorizationRef reference;
    const OSStatus status = m_authorization->create(&reference, customizedAuthMessage);
    std::optional<NVCAuthError> error;
    const QByteArray externalForm = status == errAuthorizationSuccess
                                        ? m_authorization->dataWithAuthorization(reference, &error)
                                        : QByteArray();
    if (status != errAuthorizationSuccess || error) {
        // A cancelled or refused prompt ends the request quietly, as the user chose.
        qCWarning(lcSettingsPrivilegedClient, "Failed to get auth ref of type %lu",
                  kAuthorizationTypeWithRights);
        m_authorization->destroy(&reference);
        return;
    }
    sendWithExternalForm(externalForm, call,
                         [utility = m_authorization, reference, callback](const QDBusError &answer) mutable {
                             utility->destroyAsync(&reference);
                             if (callback)
                                 callback(answer);
                         });
}

void NVCSettingsPrivilegedClient::sendWithExternalForm(const QByteArray &externalForm,
                                                       const AuthorizedCall &call, ErrorReply callback)
{
    std::optional<NVCAuthError> error;
    const AuthorizationRef reference = m_authorization->authorizationWithData(externalForm, &error);
    // The daemon refuses a holder without a reference; that refusal is the caller's answer.
    if (!reference)
        qCCritical(lcSettingsPrivilegedClient, "Invalid authorization reference");
    sendWithHolder(NVCAuthorizationHolder::withAuthorization(reference, m_authorization, true)->archive(),
                   call, callback);
}

void NVCSettingsPrivilegedClient::sendWithHolder(const QVariantMap &holderArchive, const AuthorizedCall &call,
                                                 const ErrorReply &callback)
{
    if (!linkForCall()) {
        if (callback)
            failShutDown(callback);
        return;
    }
    deliver(
        call(holderArchive),
        [callback](const QDBusPendingCall &) {
            if (callback)
                callback(QDBusError());
        },
        [callback](const QDBusError &error) {
            if (callback)
                callback(error);
        });
}

void NVCSettingsPrivilegedClient::setQUIVENSystemRuleSet(quint64 ruleSet,
                                                         const std::optional<QByteArray> &authReference,
                                                         ErrorReply callback)
{
    sendAuthorized(
        authReference,
        [this, ruleSet](const QVariantMap &holder) {
            return m_authorized->setQUIVENSystemRuleSetWithAuthorization(holder, ruleSet);
        },
        std::move(callback));
}

void NVCSettingsPrivilegedClient::setQUIVENLearningMode(bool enabled,
                                                        const std::optional<QByteArray> &authReference,
                                                        ErrorReply callback)
{
    sendAuthorized(
        authReference,
        [this, enabled](const QVariantMap &holder) {
            return m_authorized->setQUIVENLearningModeWithAuthorization(holder, enabled);
        },
        std::move(callback));
}

void NVCSettingsPrivilegedClient::setQUIVENAdvancedMode(bool enabled,
                                                        const NVCAuthorizationHolder &authorization,
                                                        ErrorReply callback)
{
    sendWithHolder(
        authorization.archive(),
        [this, enabled](const QVariantMap &holder) {
            return m_authorized->setQUIVENAdvancedModeWithAuthorization(holder, enabled);
        },
        callback);
}

void NVCSettingsPrivilegedClient::setQUIVENNonAdminCanSaveRules(bool enabled,
                                                                const NVCAuthorizationHolder &authorization,
                                                                ErrorReply callback)
{
    sendWithHolder(
        authorization.archive(),
        [this, enabled](const QVariantMap &holder) {
            return m_authorized->setQUIVENNonAdminCanSaveRulesWithAuthorization(holder, enabled);
        },
        callback);
}
