#include "NVCAuthorizationActor.h"

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcNVCAuthorizationActor, "com.norvalis.NVCAuthorizationActor")

NVCAuthorizationActor::NVCAuthorizationActor(int kind, const QString &localizedReason,
                                             std::shared_ptr<NVCAuthorization> authorizationUtility,
                                             std::chrono::milliseconds revocationInterval, QObject *parent)
    : QObject(parent)
    , m_kind(kind)
    , m_localizedReason(localizedReason)
    , m_authorizationUtility(std::move(authorizationUtility))
    , m_subscribersStorage(NVCBlockSubscriberStorage<int>::create())
{
    setObjectName(QStringLiteral("com.norvalis.NVCAuthorizationActor"));
    m_revokingAuthorizationTimer.setInterval(revocationInterval);
    connect(&m_revokingAuthorizationTimer, &QTimer::timeout, this, &NVCAuthorizationActor::revokePermissions);
}

int NVCAuthorizationActor::authorizationState() const
{
    QMutexLocker locker(&m_mutex);
    return m_authorizationState;
}

std::shared_ptr<NVCAuthorizationHolder> NVCAuthorizationActor::authorizationHolder() const
{
    QMutexLocker locker(&m_mutex);
    return m_authorizationHolder;
}

void NVCAuthorizationActor::askPermissionsWithReply(const HolderReply &reply)
{
    stopTimer();
    obtainAuthorizationWithReply([this, reply](const auto &holder, const std::optional<NVCAuthError> &error) {
        qCCritical(lcNVCAuthorizationActor).noquote()
            << QStringLiteral("Ask permissions and holder: %1 and error: %2")
                   .arg(holder ? QStringLiteral("present") : QStringLiteral("(null)"),
                        error ? error->localizedDescription : QStringLiteral("(null)"));
        if (reply)
            reply(holder, error);
        if (!error)
            startTimer();
    });
}

void NVCAuthorizationActor::obtainAuthorizationWithReply(const HolderReply &reply)
{
    const auto current = authorizationHolder();
    m_authorizationVerifier.checkAuthorizationHolder(
        current, [this, current, reply](bool valid, const std::optional<NVCAuthError> &) {
            if (valid) {
                if (reply)
                    reply(current, std::nullopt);
                return;
            }
            if (current)
                current->invalidate();
            createHolderWithReply(reply);
        });
}

void NVCAuthorizationActor::createHolderWithReply(const HolderReply &reply)
{
    switch (m_kind) {
    case AdministratorAuthorization: {
        AuthorizationRef reference;
        const OSStatus status = m_authorizationUtility->create(&reference, m_localizedReason);
        if (status != errAuthorizationSuccess || !reference) {
            installOnMainThread(
                nullptr,
                osStatusError(status != errAuthorizationSuccess ? status : errAuthorizationInvalidRef),
                reply);
            return;
        }
        installOnMainThread(NVCAuthorizationHolder::withAuthorization(reference, m_authorizationUtility),
                            std::nullopt, reply);
        return;
    }
    case LocalAuthenticationContext:
        m_localAuthenticationContext = std::make_shared<NVCLocalAuthenticationContext>(
            NVCLocalAuthenticationContext::kDeviceOwnerAuthenticationPolicy);
        installOnMainThread(NVCAuthorizationHolder::withLocalAuthenticationContext(
                                m_localAuthenticationContext, m_localizedReason),
                            std::nullopt, reply);
        return;
    case EmptyAuthorization:
        installOnMainThread(NVCAuthorizationHolder::withEmptyAuthorization(), std::nullopt, reply);
        return;
    default:
        qCWarning(lcNVCAuthorizationActor) << "Unknown authorization kind" << m_kind;
        return;
    }
}

void NVCAuthorizationActor::installOnMainThread(const std::shared_ptr<NVCAuthorizationHolder> &holder,
                                                const std::optional<NVCAuthError> &error,
                                                const HolderReply &reply)
{
    QMetaObject::invokeMethod(
        this,
        [this, holder, error, reply] {
            updateWithAuthorizationHolder(holder);
            if (reply)
                reply(holder, error);
        },
        Qt::QueuedConnection);
}

void NVCAuthorizationActor::updateWithAuthorizationHolder(
    const std::shared_ptr<NVCAuthorizationHolder> &holder)
{
    int state = None;
    {
        QMutexLocker locker(&m_mutex);
        if (holder != m_authorizationHolder) {
            m_authorizationHolder = holder;
            if (holder)
                holder->updateWithLocalizedReason(m_localizedReason, nullptr);
        }
        m_authorizationState = holder ? Held : None;
        state = m_authorizationState;
    }
    qCInfo(lcNVCAuthorizationActor) << "Authorization state" << state;
    m_subscribersStorage->enumerateSubscribers(
        [state](const StateSubscriber &subscriber) { subscriber.block()(state); });
}

void NVCAuthorizationActor::revokePermissions()
{
    stopTimer();
    updateWithAuthorizationHolder(nullptr);
}

std::shared_ptr<NVCAuthorizationActor::StateSubscriber>
NVCAuthorizationActor::subscribeToAuthorizationState(StateSubscriber::Block block)
{
    // The block itself is the token: it is kept on the heap so that its address stays put.
    auto heldBlock = std::make_shared<StateSubscriber::Block>(std::move(block));
    auto subscriber = std::make_shared<StateSubscriber>(heldBlock.get(), [heldBlock](int state) {
        if (*heldBlock)
            (*heldBlock)(state);
    });
    m_subscribersStorage->addSubscriber(subscriber);
    if (*heldBlock)
        (*heldBlock)(authorizationState());
    return subscriber;
}

void NVCAuthorizationActor::startTimer()
{
    QMetaObject::invokeMethod(
        this, [this] { m_revokingAuthorizationTimer.start(); }, Qt::AutoConnection);
}

void NVCAuthorizationActor::stopTimer()
{
    QMetaObject::invokeMethod(
        this, [this] { m_revokingAuthorizationTimer.stop(); }, Qt::AutoConnection);
}
