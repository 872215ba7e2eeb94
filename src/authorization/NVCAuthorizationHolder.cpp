#include "NVCAuthorizationHolder.h"

#include "NVCAuthorizationRefHolder.h"
#include "NVCEmptyAuthorizationHolder.h"
#include "NVCLocalAuthenticationContextHolder.h"

#include <QDBusArgument>
#include <QDBusMetaType>

namespace {

const QString kRefHolderKey = QStringLiteral("AuthorizationRefHolder");
const QString kContextHolderKey = QStringLiteral("localAuthenticationContextHolder");
const QString kEmptyKey = QStringLiteral("EmptyAuthorization");

// Nested dictionaries arrive from the bus still marshalled.
std::optional<QVariantMap> asMap(const QVariant &value)
{
    if (value.metaType().id() == QMetaType::QVariantMap)
        return value.toMap();
    if (value.metaType() == QMetaType::fromType<QDBusArgument>()) {
        const auto argument = value.value<QDBusArgument>();
        if (argument.currentType() != QDBusArgument::MapType ||
            argument.currentSignature() != QLatin1String("a{sv}"))
            return std::nullopt;
        QVariantMap map = qdbus_cast<QVariantMap>(argument);
        for (auto it = map.begin(); it != map.end(); ++it) {
            if (auto nested = asMap(it.value()))
                it.value() = *nested;
        }
        return map;
    }
    return std::nullopt;
}

std::shared_ptr<NVCAuthorizationHolder> decodeOne(const QString &key, const QVariantMap &inner,
                                                  std::shared_ptr<NVCAuthorization> utility)
{
    std::shared_ptr<NVCAuthorizationHolderProtocol> holder;
    if (key == kRefHolderKey)
        holder = NVCAuthorizationRefHolder::fromArchive(inner, std::move(utility));
    else if (key == kContextHolderKey)
        holder = NVCLocalAuthenticationContextHolder::fromArchive(inner);
    else if (key == kEmptyKey)
        holder = NVCEmptyAuthorizationHolder::fromArchive(inner);
    return holder ? std::make_shared<NVCAuthorizationHolder>(holder) : nullptr;
}

} // namespace

NVCAuthorizationHolder::NVCAuthorizationHolder(std::shared_ptr<NVCAuthorizationHolderProtocol> currentHolder)
    : m_currentHolder(std::move(currentHolder))
{}

std::shared_ptr<NVCAuthorizationHolder>
NVCAuthorizationHolder::withAuthorization(const AuthorizationRef &reference,
                                          std::shared_ptr<NVCAuthorization> utility, bool weakReferenceMode)
{
    return std::make_shared<NVCAuthorizationHolder>(
        std::make_shared<NVCAuthorizationRefHolder>(reference, std::move(utility), weakReferenceMode));
}

std::shared_ptr<NVCAuthorizationHolder> NVCAuthorizationHolder::withLocalAuthenticationContext(
    const std::shared_ptr<NVCLocalAuthenticationContext> &context, const QString &localizedReason)
{
    return std::make_shared<NVCAuthorizationHolder>(
        std::make_shared<NVCLocalAuthenticationContextHolder>(context, localizedReason));
}

std::shared_ptr<NVCAuthorizationHolder> NVCAuthorizationHolder::withEmptyAuthorization()
{
    return std::make_shared<NVCAuthorizationHolder>(std::make_shared<NVCEmptyAuthorizationHolder>());
}

std::shared_ptr<NVCAuthorizationHolder>
NVCAuthorizationHolder::fromArchive(const QVariantMap &archive, std::shared_ptr<NVCAuthorization> utility,
                                    QString *error)
{
    auto fail = [error](const QString &reason) -> std::shared_ptr<NVCAuthorizationHolder> {
        if (error)
            *error = reason;
        return nullptr;
    };
    if (archive.size() != 1)
        return fail(QStringLiteral("An authorization holder must hold exactly one of %1, %2 or %3")
                        .arg(kRefHolderKey, kContextHolderKey, kEmptyKey));
    const QString key = archive.firstKey();
    const std::optional<QVariantMap> inner = asMap(archive.first());
    if (!inner)
        return fail(QStringLiteral("The value of %1 is not a dictionary").arg(key));
    auto holder = decodeOne(key, *inner, std::move(utility));
    if (!holder)
        return fail(QStringLiteral("The authorization holder under %1 is malformed").arg(key));
    return holder;
}

bool NVCAuthorizationHolder::hasAuthorizationReference() const
{
    return std::dynamic_pointer_cast<NVCAuthorizationRefHolder>(m_currentHolder) != nullptr;
}

bool NVCAuthorizationHolder::hasLocalAuthenticationContext() const
{
    return std::dynamic_pointer_cast<NVCLocalAuthenticationContextHolder>(m_currentHolder) != nullptr;
}

bool NVCAuthorizationHolder::hasEmptyAuthorization() const
{
    return std::dynamic_pointer_cast<NVCEmptyAuthorizationHolder>(m_currentHolder) != nullptr;
}

void NVCAuthorizationHolder::checkWithReply(const NVCAuthorizationCheckReply &reply)
{
    m_currentHolder->checkWithReply(reply);
}

bool NVCAuthorizationHolder::updateWithLocalizedReason(const QString &localizedReason,
                                                       std::optional<NVCAuthError> *error)
{
    return m_currentHolder->updateWithLocalizedReason(localizedReason, error);
}

void NVCAuthorizationHolder::invalidate()
{
    m_currentHolder->invalidate();
}

QVariantMap NVCAuthorizationHolder::archive() const
{
    const QString key = hasAuthorizationReference()       ? kRefHolderKey
                        : hasLocalAuthenticationContext() ? kContextHolderKey
                                                          : kEmptyKey;
    return {{key, m_currentHolder->archive()}};
}

QByteArray externalFormFromHolderArchive(const QVariantMap &archive)
{
    const std::optional<QVariantMap> inner = asMap(archive.value(kRefHolderKey));
    if (!inner)
        return QByteArray();
    const QVariant data = inner->value(QStringLiteral("AuthorizationRef"));
    return data.metaType().id() == QMetaType::QByteArray ? data.toByteArray() : QByteArray();
}
