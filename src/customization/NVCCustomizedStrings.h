#pragma once

#include "NVCCustomization.h"

#include <QString>
#include <memory>

// The product's display name and authorization prompt, localized, so that no
// window hard-codes the product name.
class NVCCustomizedStrings
{
public:
    explicit NVCCustomizedStrings(std::shared_ptr<const NVCCustomization> customization);

    const std::shared_ptr<const NVCCustomization> &customization() const { return m_customization; }
    QString customizationsPath() const { return m_customization->customizationsPath(); }

    QString quivenName() const;
    QString customizedAuthorizationMessageWithApplicationName(const QString &name) const;
    // The prompt for the installation's own application name (the product
    // name when the installation does not customize it).
    QString customizedAuthorizationMessage() const;

private:
    std::shared_ptr<const NVCCustomization> m_customization;
};
