#pragma once

#include <QLocale>

// Installs the compiled catalog of the windows' texts that matches `locale`;
// false when there is none (the texts then stay in English).
bool installUiTranslations(const QLocale &locale = QLocale());
