#include "NVCCustomizedStrings.h"

#include "CustomizedPlaceholders.h"

#include <QCoreApplication>

NVCCustomizedStrings::NVCCustomizedStrings(std::shared_ptr<const NVCCustomization> customization)
    : m_customization(std::move(customization))
{}

QString NVCCustomizedStrings::quivenName() const
{
    return QCoreApplication::translate("NVCCustomizedStrings", "Norvalis™ QUIVEN");
}

QString NVCCustomizedStrings::customizedAuthorizationMessageWithApplicationName(const QString &name) const
{
    CustomizedPlaceholders values;
    values.applicationName = name;
    return replaceCustomizedPlaceholders(
        QCoreApplication::translate("NVCCustomizedStrings", "%%APPLICATION_NAME%% wants to make changes."),
        values);
}

QString NVCCustomizedStrings::customizedAuthorizationMessage() const
{
    const QString name = m_customization->applicationName();
    return customizedAuthorizationMessageWithApplicationName(name.isNull() ? quivenName() : name);
}
