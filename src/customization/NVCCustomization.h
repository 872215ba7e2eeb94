#pragma once

#include <QString>

// Installation-specific switches of the product, read once from
// "customization.json" in the customization folder. Without that file (or with
// an unreadable one) every switch keeps its default, so a plain installation
// behaves as the stock product.
class NVCCustomization
{
public:
    // "share/quiven/gui/" of the installation the program runs from, else "/usr/share/quiven/gui/".
    static QString defaultCustomizationsPath();
    static QString customizationFileName(); // "customization.json"

    NVCCustomization();
    explicit NVCCustomization(const QString &customizationsPath);

    QString customizationsPath() const { return m_customizationsPath; }
    bool quivenSystemRulesVisible() const { return m_quivenSystemRulesVisible; }
    bool quivenSystemRulesAvailable() const { return m_quivenSystemRulesAvailable; }
    // The application name that the installation shows in its authorization
    // prompt; null when the installation does not customize it.
    QString applicationName() const { return m_applicationName; }

private:
    void load();

    QString m_customizationsPath;
    bool m_quivenSystemRulesVisible = true;
    bool m_quivenSystemRulesAvailable = true;
    QString m_applicationName;
};
