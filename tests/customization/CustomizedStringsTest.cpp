#include "CustomizedTranslations.h"
#include "NVCCustomizedStrings.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTranslator>
#include <gtest/gtest.h>

TEST(CustomizedStrings, EnglishKeysWithoutCatalogAndTheGermanCatalogFromResources)
{
    QTemporaryDir emptyFolder;
    const NVCCustomizedStrings strings(std::make_shared<NVCCustomization>(emptyFolder.path()));
    EXPECT_EQ(strings.customizedAuthorizationMessage(),
              QString::fromUtf8("Norvalis™ QUIVEN wants to make changes."));

    ASSERT_TRUE(installCustomizedTranslations(QLocale(QLocale::German, QLocale::Germany)));
    EXPECT_EQ(strings.customizedAuthorizationMessageWithApplicationName(QStringLiteral("50%% App")),
              QString::fromUtf8("50%% App möchte Änderungen vornehmen."));
    EXPECT_EQ(strings.quivenName(), QString::fromUtf8("Norvalis™ QUIVEN")) << "the name is not translated";
    for (QTranslator *translator : QCoreApplication::instance()->findChildren<QTranslator *>()) {
        QCoreApplication::removeTranslator(translator);
        delete translator;
    }
}
