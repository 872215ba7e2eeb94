#include "CustomizedTranslations.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTranslator>

Q_LOGGING_CATEGORY(lcCustomizedTranslations, "com.norvalis.CustomizedTranslations")

bool installCustomizedTranslations(const QLocale &locale)
{
    auto *translator = new QTranslator(QCoreApplication::instance());
    if (!translator->load(locale, QStringLiteral("quiven_customization"), QStringLiteral("_"),
                          QStringLiteral(":/translations"))) {
        qCDebug(lcCustomizedTranslations) << "No customized strings catalog for" << locale.name();
        delete translator;
        return false;
    }
    QCoreApplication::installTranslator(translator);
    qCInfo(lcCustomizedTranslations) << "Installed customized strings catalog" << translator->filePath();
    return true;
}
