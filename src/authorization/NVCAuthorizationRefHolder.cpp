#include "NVCAuthorizationRefHolder.h"

#include "NVCAuthorizationHolderErrors.h"

#include <QLoggingCategory>

Q_LOGGING_CATEGORY(lcNVCAuthorizationRefHolder, "com.norvalis.NVCAuthorizationRefHolder")

namespace {

const QString kReferenceKey = QStringLiteral("AuthorizationRef");
const QString kReasonKey = QStringLiteral("LocalizedReason");
const QString kWeakModeKey = QStringLiteral("WeakReferenceMode");

void setError(std::optional<NVCAuthError> *error, NVCAuthorizationHolderError which)
{
    if (error)
        *error = makeHolderError(which);
}

} // namespace

NVCAuthorizationRefHolder::NVCAuthorizationRefHolder(const AuthorizationRef &reference,
                                                     std::shared_ptr<NVCAuthorization> authorizationUtility,
                                                     bool weakReferenceMode)
    : m_reference(reference)
    , m_authorizationUtility(std::move(authorizationUtility))
    , m_weakReferenceMode(weakReferenceMode)
{}

std::shared_ptr<NVCAuthorizationRefHolder>
NVCAuthorizationRefHolder::fromArchive(const QVariantMap &archive,
                                       std::shared_ptr<NVCAuthorization> authorizationUtility)
{
    const QVariant data = archive.value(kReferenceKey);
    if (data.metaType().id() != QMetaType::QByteArray) {
        qCCritical(lcNVCAuthorizationRefHolder, "authorizationData.class is %s",
                   data.isValid() ? data.metaType().name() : "nil");
        return nullptr;
    }
    std::optional<NVCAuthError> error;
    const AuthorizationRef reference =
        authorizationUtility->authorizationWithData(data.toByteArray(), &error);
    if (!reference || error) {
        qCCritical(lcNVCAuthorizationRefHolder).noquote()
            << QStringLiteral("reference is nil? %1 or error occurred: %2")
                   .arg(reference ? QStringLiteral("NO") : QStringLiteral("YES"),
                        error ? error->localizedDescription : QStringLiteral("(null)"));
        return nullptr;
    }
    const QVariant weak = archive.value(kWeakModeKey);
    auto holder = std::make_shared<NVCAuthorizationRefHolder>(
        reference, std::move(authorizationUtility), weak.metaType().id() == QMetaType::Bool && weak.toBool());
    const QVariant reason = archive.value(kReasonKey);
    if (reason.metaType().id() == QMetaType::QString)
        holder->m_localizedReason = reason.toString();
    return holder;
}

bool NVCAuthorizationRefHolder::check()
{
    return m_reference && m_authorizationUtility->isValid(m_reference);
}

void NVCAuthorizationRefHolder::checkWithReply(const NVCAuthorizationCheckReply &reply)
{
    if (!reply)
        return;
    if (!m_reference)
        reply(false, makeHolderError(NVCAuthorizationHolderError::ReferenceMissing));
    else if (!m_authorizationUtility->isValid(m_reference))
        reply(false, makeHolderError(NVCAuthorizationHolderError::ReferenceCheckFailed));
    else
        reply(true, std::nullopt);
}

bool NVCAuthorizationRefHolder::updateWithLocalizedReason(const QString &localizedReason,
                                                          std::optional<NVCAuthError> *error)
{
    if (!m_reference) {
        setError(error, NVCAuthorizationHolderError::ReferenceMissing);
        return false;
    }
    if (m_authorizationUtility->update(m_reference, localizedReason) != errAuthorizationSuccess) {
        setError(error, NVCAuthorizationHolderError::ReferenceUpdateFailed);
        return false;
    }
    m_localizedReason = localizedReason;
    if (error)
        error->reset();
    return true;
}

void NVCAuthorizationRefHolder::invalidate()
{
    if (!m_weakReferenceMode)
        m_authorizationUtility->destroy(&m_reference);
}

QVariantMap NVCAuthorizationRefHolder::archive() const
{
    if (!m_reference) {
        qCCritical(lcNVCAuthorizationRefHolder, "reference is nil");
        return {};
    }
    std::optional<NVCAuthError> error;
    const QByteArray data = m_authorizationUtility->dataWithAuthorization(m_reference, &error);
    if (data.isEmpty()) {
        qCCritical(lcNVCAuthorizationRefHolder).noquote()
            << QStringLiteral("data is nil and error occurred: %1")
                   .arg(error ? error->localizedDescription : QStringLiteral("(null)"));
        return {};
    }
    return {{kReferenceKey, data}, {kReasonKey, m_localizedReason}, {kWeakModeKey, m_weakReferenceMode}};
}
