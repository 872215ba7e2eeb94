#include "NVCEmptyAuthorizationHolder.h"

#include "NVCAuthorizationHolderErrors.h"

namespace {

const QString kMarkerKey = QStringLiteral("EmptyAuthorization");

} // namespace

std::shared_ptr<NVCEmptyAuthorizationHolder>
NVCEmptyAuthorizationHolder::fromArchive(const QVariantMap &archive)
{
    const QVariant marker = archive.value(kMarkerKey);
    if (marker.metaType().id() != QMetaType::Bool || !marker.toBool())
        return nullptr;
    return std::make_shared<NVCEmptyAuthorizationHolder>();
}

void NVCEmptyAuthorizationHolder::checkWithReply(const NVCAuthorizationCheckReply &reply)
{
    if (reply)
        reply(false, makeHolderError(NVCAuthorizationHolderError::EmptyAuthorization));
}

bool NVCEmptyAuthorizationHolder::updateWithLocalizedReason(const QString &,
                                                            std::optional<NVCAuthError> *error)
{
    if (error)
        error->reset();
    return true;
}

QVariantMap NVCEmptyAuthorizationHolder::archive() const
{
    return {{kMarkerKey, true}};
}
