#pragma once

#include "NVCAuthorization.h"
#include "NVCAuthorizationHolderProtocol.h"
#include "NVCLocalAuthenticationContext.h"

#include <QVariantMap>
#include <memory>

// Carries exactly one current holder (an authorization reference, a
// local-authentication context, or deliberately nothing) across a service
// connection as an a{sv} keyed by the holder's kind.
class NVCAuthorizationHolder
{
public:
    static std::shared_ptr<NVCAuthorizationHolder>
    withAuthorization(const AuthorizationRef &reference, std::shared_ptr<NVCAuthorization> utility,
                      bool weakReferenceMode = false);
    static std::shared_ptr<NVCAuthorizationHolder>
    withLocalAuthenticationContext(const std::shared_ptr<NVCLocalAuthenticationContext> &context,
                                   const QString &localizedReason);
    static std::shared_ptr<NVCAuthorizationHolder> withEmptyAuthorization();

    // Decodes archive(); null (and a reason in *error) when the map is not a
    // valid holder. Nested maps may still be in their D-Bus argument form.
    static std::shared_ptr<NVCAuthorizationHolder> fromArchive(const QVariantMap &archive,
                                                               std::shared_ptr<NVCAuthorization> utility,
                                                               QString *error = nullptr);

    explicit NVCAuthorizationHolder(std::shared_ptr<NVCAuthorizationHolderProtocol> currentHolder);

    const std::shared_ptr<NVCAuthorizationHolderProtocol> &currentHolder() const { return m_currentHolder; }
    bool hasAuthorizationReference() const;
    bool hasLocalAuthenticationContext() const;
    bool hasEmptyAuthorization() const;

    void checkWithReply(const NVCAuthorizationCheckReply &reply);
    bool updateWithLocalizedReason(const QString &localizedReason, std::optional<NVCAuthError> *error);
    void invalidate();
    QVariantMap archive() const;

private:
    std::shared_ptr<NVCAuthorizationHolderProtocol> m_currentHolder;
};

// The external form inside an archived reference holder, or an empty array
// when the archive holds none; lets a daemon verify without decoding further.
QByteArray externalFormFromHolderArchive(const QVariantMap &archive);
