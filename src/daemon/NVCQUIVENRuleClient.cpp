#include "NVCQUIVENRuleClient.h"

#include "NVCAuthorization.h"
#include "NVCCustomization.h"
#include "NVCCustomizedStrings.h"
#include "NVCQUIVENDaemonRuleProtocolProxy.h"
#include "NVCQUIVENPolicyChangedProtocolAdaptor.h"
#include "RuleCoding.h"

#include <QCoreApplication>
#include <QDBusPendingReply>
#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcRuleClient, "com.norvalis.NVCQUIVENRuleClient")

namespace {

// The object the filter daemon calls when the user ruleset changed.
class PolicyChangedListener : public NVCSubscriptionListener
{
    Q_OBJECT
public:
    explicit PolicyChangedListener(NVCQUIVENRuleClient *client)
        : NVCSubscriptionListener(client)
        , m_ruleClient(client)
    {
        new NVCQUIVENPolicyChangedProtocolAdaptor(this);
    }

public Q_SLOTS:
    void policyChangedWithWatchRules(const QList<QVariantMap> &watchArchives,
                                     const QList<QVariantMap> &policyArchives)
    {
        if (!acceptCall() || !m_ruleClient)
            return;
        QList<WatchRulePtr> watchRules;
        QList<PolicyRulePtr> policyRules;
        QString error;
        if (!quiven::dbus::unarchiveWatchRules(watchArchives, &watchRules, &error) ||
            !quiven::dbus::unarchivePolicyRules(policyArchives, &policyRules, &error)) {
            qCCritical(lcRuleClient, "Ignoring a policy change with a bad rule record: %s",
                       qUtf8Printable(error));
            return;
        }
        m_ruleClient->policyChangedWithWatchRules(watchRules, policyRules);
    }

private:
    QPointer<NVCQUIVENRuleClient> m_ruleClient;
};

// The daemon's own refusals carry the product's error names; anything else
// means the call never got an answer.
bool isDaemonAnswer(const QDBusError &error)
{
    return error.name().startsWith(QLatin1String("com.norvalis.Error."));
}

} // namespace

QString NVCPolicyListener::listenerDescription() const
{
    return QStringLiteral("<NVCPolicyListener: 0x%1>").arg(quintptr(this), 0, 16);
}

NVCQUIVENRuleClient::NVCQUIVENRuleClient(const QDBusConnection &bus, const NVCNamespace &nameSpace,
                                         QObject *parent)
    : NVCQUIVENClient(bus, QString::fromLatin1(ruleProtocol), nameSpace, FilterClientStart::ProxyOnly, parent)
    , m_customizedStrings(std::make_unique<NVCCustomizedStrings>(std::make_shared<NVCCustomization>()))
    , m_authorization(std::make_shared<NVCAuthorization>(bus))
{
    m_rules =
        new ComNorvalisNVCQUIVENDaemonRuleProtocolInterface(serviceName(), objectPath(), this->bus(), this);
}

NVCQUIVENRuleClient::~NVCQUIVENRuleClient()
{
    unsubscribeProtocol(QString::fromLatin1(policyChangedProtocol));
}

NVCSubscriptionListener *NVCQUIVENRuleClient::createListener(const QString &protocolName)
{
    if (protocolName == QLatin1String(policyChangedProtocol))
        return new PolicyChangedListener(this);
    return NVCQUIVENClient::createListener(protocolName);
}

void NVCQUIVENRuleClient::addPolicyListener(NVCPolicyListener *listener)
{
    if (!listener)
        return;
    QMutexLocker locker(&m_listenersLock);
    if (m_policyListeners.isEmpty())
        subscribeToUpdateWithProtocol(QString::fromLatin1(policyChangedProtocol));
    m_policyListeners.append(listener);
}

void NVCQUIVENRuleClient::removePolicyListener(NVCPolicyListener *listener)
{
    QMutexLocker locker(&m_listenersLock);
    if (!m_policyListeners.removeOne(listener))
        return;
    if (m_policyListeners.isEmpty())
        unsubscribeProtocol(QString::fromLatin1(policyChangedProtocol));
}

qsizetype NVCQUIVENRuleClient::policyListenerCount() const
{
    QMutexLocker locker(&m_listenersLock);
    return m_policyListeners.size();
}

void NVCQUIVENRuleClient::policyChangedWithWatchRules(const QList<WatchRulePtr> &watchRules,
                                                      const QList<PolicyRulePtr> &policyRules)
{
    QMutexLocker locker(&m_listenersLock);
    qCDebug(lcRuleClient, "%s: notifying policy listeners", Q_FUNC_INFO);
    // A listener may remove itself while being told; the copy keeps the walk valid.
    const QList<NVCPolicyListener *> listeners = m_policyListeners;
    for (NVCPolicyListener *listener : listeners) {
        qCDebug(lcRuleClient, "%s: notifying policy listener %s", Q_FUNC_INFO,
                qUtf8Printable(listener->listenerDescription()));
        listener->policyChangedWithWatchRules(watchRules, policyRules);
    }
}

QString NVCQUIVENRuleClient::authorizationPrompt() const
{
    return QCoreApplication::translate("NVCQUIVENRuleClient", "%1 wants to update your security policy")
        .arg(m_customizedStrings->quivenName());
}

void NVCQUIVENRuleClient::invokeWithAuthorization(const AuthorizationCallback &callback)
{
    getAuthorizationWithMessage(authorizationPrompt(), callback);
}

void NVCQUIVENRuleClient::getAuthorizationWithMessage(const QString &message,
                                                      const AuthorizationCallback &callback)
{
    const std::shared_ptr<NVCAuthorization> authorization = m_authorization;
    setupAuthRefWithMessage(message, [authorization, callback](const AuthorizationRef &reference,
                                                               OSStatus status, const Release &release) {
        QByteArray externalForm(kAuthorizationExternalFormLength, '\0');
        if (status != errAuthorizationSuccess) {
            // Names the external form although creating the reference failed: the
            // text operators search for.
            qCCritical(lcRuleClient, "Error creating external form of authref %p",
                       static_cast<const void *>(reference.get()));
        } else {
            std::optional<NVCAuthError> error;
            const QByteArray data = authorization->dataWithAuthorization(reference, &error);
            status = error ? static_cast<OSStatus>(error->code) : errAuthorizationSuccess;
            if (!error)
                externalForm = data;
        }
        if (callback)
            callback(externalForm, status, release);
    });
}

void NVCQUIVENRuleClient::setupAuthRefWithMessage(const QString &message, const AuthRefCallback &callback)
{
    const std::shared_ptr<NVCAuthorization> authorization = m_authorization;
    quint32 flags = authorization->flags();
    if (!m_interactionAllowed)
        flags &= ~kAuthorizationFlagInteractionAllowed;
    auto reference = std::make_shared<AuthorizationRef>();
    const OSStatus status = authorization->create(reference.get(), message, flags);
    // Frees only this process's hold: the right itself stays granted to others.
    const Release release = [authorization, reference] {
        qCDebug(lcRuleClient, "Freeing authref %p", static_cast<const void *>(reference->get()));
        authorization->free(reference.get(), kAuthorizationFlagDefaults);
    };
    if (callback)
        callback(*reference, status, release);
}

ComNorvalisNVCQUIVENDaemonRuleProtocolInterface *NVCQUIVENRuleClient::ruleProxy()
{
    // Like the daemon proxy: with the bus gone the call still goes out and
    // fails through the caller's error path.
    return daemonProxy() ? m_rules : nullptr;
}

void NVCQUIVENRuleClient::getUserRuleset(const RulesetReply &reply, const ErrorCallback &error)
{
    auto *rules = ruleProxy();
    if (!rules)
        return;
    // An answer that cannot be decoded fails like a broken connection.
    const ErrorCallback failed = error ? error : xpcErrorLogger();
    deliver(
        rules->getUserRuleset(),
        [reply, failed](const QDBusPendingCall &call) {
            const QDBusPendingReply<QList<QVariantMap>, QList<QVariantMap>> answer(call);
            QList<WatchRulePtr> watchRules;
            QList<PolicyRulePtr> policyRules;
            QString text;
            if (!quiven::dbus::unarchiveWatchRules(answer.argumentAt<0>(), &watchRules, &text) ||
                !quiven::dbus::unarchivePolicyRules(answer.argumentAt<1>(), &policyRules, &text)) {
                failed(QDBusError(QDBusError::InvalidArgs, text));
                return;
            }
            if (reply)
                reply(watchRules, policyRules);
        },
        failed);
}

void NVCQUIVENRuleClient::setUserWatchRules(const QList<WatchRulePtr> &watchRules,
                                            const QList<PolicyRulePtr> &policyRules,
                                            const QByteArray &authorization, const SaveReply &reply,
                                            const ErrorCallback &error)
{
    auto *rules = ruleProxy();
    if (!rules)
        return;
    deliver(
        rules->setUserWatchRules(quiven::dbus::archiveWatchRules(watchRules),
                                 quiven::dbus::archivePolicyRules(policyRules), authorization),
        [reply](const QDBusPendingCall &) {
            if (reply)
                reply(QDBusError());
        },
        [reply, error](const QDBusError &failure) {
            if (isDaemonAnswer(failure)) {
                if (reply)
                    reply(failure);
            } else {
                (error ? error : xpcErrorLogger())(failure);
            }
        });
}

#include "NVCQUIVENRuleClient.moc"
