#include "NVCSettingsPrivilegedClient.h"

#include "nrsettingsdAuthorizedProtocolProxy.h"

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcSettingsPrivilegedClient, "com.norvalis.NVCSettingsPrivilegedClient")

namespace {
constexpr qsizetype kExternalFormSize = 32;
constexpr quint64 kAuthorizationTypeWithRights = 1;
} // namespace

QVariantMap authorizationHolderArchive(const QByteArray &externalForm, const QString &localizedReason)
{
    QVariantMap reference;
    reference.insert(QStringLiteral("AuthorizationRef"), externalForm);
    reference.insert(QStringLiteral("WeakReferenceMode"), true);
    reference.insert(QStringLiteral("LocalizedReason"), localizedReason);
    return {{QStringLiteral("AuthorizationRefHolder"), reference}};
}

NVCSettingsPrivilegedClient::NVCSettingsPrivilegedClient(const QDBusConnection &bus,
                                                         const NVCNamespace &nameSpace, QObject *parent)
    : NVCSettingsClient(bus, nameSpace, parent)
{
    m_authorized =
        new ComNorvalisNrsettingsdAuthorizedProtocolInterface(serviceName(), objectPath(), this->bus(), this);
}

std::optional<QVariantMap>
NVCSettingsPrivilegedClient::holderFor(const std::optional<QByteArray> &authReference) const
{
    // Making an authorization here would need the prompt; callers pass the
    // external form they already hold.
    if (!authReference) {
        qCWarning(lcSettingsPrivilegedClient, "Failed to get auth ref of type %llu",
                  static_cast<unsigned long long>(kAuthorizationTypeWithRights));
        return std::nullopt;
    }
    if (authReference->size() != kExternalFormSize)
        qCCritical(lcSettingsPrivilegedClient, "Invalid authorization reference");
    return authorizationHolderArchive(*authReference, customizedAuthMessage);
}

void NVCSettingsPrivilegedClient::send(const QDBusPendingCall &call, const ErrorReply &callback)
{
    deliver(
        call,
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
    const auto holder = holderFor(authReference);
    if (holder && connection())
        send(m_authorized->setQUIVENSystemRuleSetWithAuthorization(*holder, ruleSet), callback);
}

void NVCSettingsPrivilegedClient::setQUIVENLearningMode(bool enabled,
                                                        const std::optional<QByteArray> &authReference,
                                                        ErrorReply callback)
{
    const auto holder = holderFor(authReference);
    if (holder && connection())
        send(m_authorized->setQUIVENLearningModeWithAuthorization(*holder, enabled), callback);
}

void NVCSettingsPrivilegedClient::setQUIVENAdvancedMode(bool enabled, const QVariantMap &authorization,
                                                        ErrorReply callback)
{
    if (connection())
        send(m_authorized->setQUIVENAdvancedModeWithAuthorization(authorization, enabled), callback);
}

void NVCSettingsPrivilegedClient::setQUIVENNonAdminCanSaveRules(bool enabled,
                                                                const QVariantMap &authorization,
                                                                ErrorReply callback)
{
    if (connection())
        send(m_authorized->setQUIVENNonAdminCanSaveRulesWithAuthorization(authorization, enabled), callback);
}
