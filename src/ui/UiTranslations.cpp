#include "UiTranslations.h"

#include <QCoreApplication>
#include <QTranslator>

bool installUiTranslations(const QLocale &locale)
{
    auto *translator = new QTranslator(QCoreApplication::instance());
    if (!translator->load(locale, QStringLiteral("quiven_ui"), QStringLiteral("_"),
                          QStringLiteral(":/translations"))) {
        delete translator;
        return false;
    }
    QCoreApplication::installTranslator(translator);
    return true;
}
