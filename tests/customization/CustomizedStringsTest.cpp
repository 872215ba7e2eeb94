#include "CustomizedTranslations.h"
#include "NVCCustomizedStrings.h"
#include "TestFiles.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTranslator>
#include <gtest/gtest.h>

TEST(CustomizedStrings, CustomizedNameInEnglishKeysAndTheGermanCatalogFromResources)
{
    QTemporaryDir folder;
    ASSERT_TRUE(writeFile(folder.filePath(NVCCustomization::customizationFileName()),
                          R"({"applicationName": "Acme %%QUIVEN_NAME%%"})"));
    const NVCCustomizedStrings strings(std::make_shared<NVCCustomization>(folder.path()));
    EXPECT_EQ(strings.customizedAuthorizationMessage(),
              QStringLiteral("Acme %%QUIVEN_NAME%% wants to make changes."))
        << "the customized application name is inserted once";

    ASSERT_TRUE(installCustomizedTranslations(QLocale(QLocale::German, QLocale::Germany)));
    EXPECT_EQ(strings.customizedAuthorizationMessageWithApplicationName(QStringLiteral("50%% App")),
              QString::fromUtf8("50%% App möchte Änderungen vornehmen."));
    EXPECT_EQ(strings.quivenName(), QString::fromUtf8("Norvalis™ QUIVEN")) << "the name is not translated";
    for (QTranslator *translator : QCoreApplication::instance()->findChildren<QTranslator *>()) {
        QCoreApplication::removeTranslator(translator);
        delete translator;
    }
}
