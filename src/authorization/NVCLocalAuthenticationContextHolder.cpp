#include "NVCLocalAuthenticationContextHolder.h"

#include "NVCAuthorizationHolderErrors.h"

namespace {

const QString kContextKey = QStringLiteral("LocalAuthenticationContext");
const QString kPolicyKey = QStringLiteral("Policy");
const QString kReasonKey = QStringLiteral("LocalizedReason");

} // namespace

NVCLocalAuthenticationContextHolder::NVCLocalAuthenticationContextHolder(
    const std::shared_ptr<NVCLocalAuthenticationContext> &context, const QString &localizedReason)
    : m_context(context)
    , m_localizedReason(localizedReason)
{}

std::shared_ptr<NVCLocalAuthenticationContextHolder>
NVCLocalAuthenticationContextHolder::fromArchive(const QVariantMap &archive)
{
    const QVariant context = archive.value(kContextKey);
    if (context.metaType().id() != QMetaType::QVariantMap)
        return nullptr;
    const QVariant policy = context.toMap().value(kPolicyKey);
    if (policy.metaType().id() != QMetaType::Int)
        return nullptr;
    const QVariant reason = archive.value(kReasonKey);
    auto decoded = std::make_shared<NVCLocalAuthenticationContext>(policy.toInt());
    auto holder = std::make_shared<NVCLocalAuthenticationContextHolder>(
        decoded, reason.metaType().id() == QMetaType::QString ? reason.toString() : QString());
    holder->m_decodedContext = decoded;
    return holder;
}

void NVCLocalAuthenticationContextHolder::checkWithReply(const NVCAuthorizationCheckReply &reply)
{
    if (!reply)
        return;
    const auto context = m_context.lock();
    if (!context) {
        reply(false, makeHolderError(NVCAuthorizationHolderError::ContextMissing));
        return;
    }
    if (m_localizedReason.isEmpty()) {
        reply(false, makeHolderError(NVCAuthorizationHolderError::ReasonMissing));
        return;
    }
    context->evaluatePolicy(m_localizedReason, reply);
}

bool NVCLocalAuthenticationContextHolder::updateWithLocalizedReason(const QString &localizedReason,
                                                                    std::optional<NVCAuthError> *error)
{
    if (localizedReason.isEmpty()) {
        if (error)
            *error = makeHolderError(NVCAuthorizationHolderError::ReasonMissing);
        return false;
    }
    m_localizedReason = localizedReason;
    if (error)
        error->reset();
    return true;
}

void NVCLocalAuthenticationContextHolder::invalidate()
{
    m_decodedContext.reset();
    m_context.reset();
}

QVariantMap NVCLocalAuthenticationContextHolder::archive() const
{
    const auto context = m_context.lock();
    if (!context)
        return {};
    return {{kContextKey, QVariantMap{{kPolicyKey, context->policy()}}}, {kReasonKey, m_localizedReason}};
}
