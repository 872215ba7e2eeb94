#include "CustomizedTranslations.h"
#include "NVCCustomizedStrings.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTranslator>
#include <gtest/gtest.h>

namespace {

// Each test starts and ends with no catalog installed, so the English keys show.
class CustomizedStrings : public testing::Test
{
protected:
    void TearDown() override
    {
        for (QTranslator *translator : QCoreApplication::instance()->findChildren<QTranslator *>()) {
            QCoreApplication::removeTranslator(translator);
            delete translator;
        }
    }

    QTemporaryDir emptyFolder;
    NVCCustomizedStrings strings{std::make_shared<NVCCustomization>(emptyFolder.path())};
};

TEST_F(CustomizedStrings, EnglishKeysWithoutCatalog)
{
    EXPECT_EQ(strings.quivenName(), QString::fromUtf8("Norvalis™ QUIVEN"));
    EXPECT_EQ(strings.customizedAuthorizationMessageWithApplicationName(QStringLiteral("Backup")),
              QStringLiteral("Backup wants to make changes."));
    EXPECT_EQ(strings.customizedAuthorizationMessage(),
              QString::fromUtf8("Norvalis™ QUIVEN wants to make changes."));
}

TEST_F(CustomizedStrings, GermanCatalogFromResources)
{
    ASSERT_TRUE(installCustomizedTranslations(QLocale(QLocale::German, QLocale::Germany)));
    EXPECT_EQ(strings.customizedAuthorizationMessageWithApplicationName(QStringLiteral("50%% App")),
              QString::fromUtf8("50%% App möchte Änderungen vornehmen."));
}

} // namespace
