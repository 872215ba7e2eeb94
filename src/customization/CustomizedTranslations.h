#pragma once

#include <QLocale>

// Loads the compiled catalog of the product's customized texts that matches
// `locale` from the embedded resources and installs it in the application.
// Returns false when no catalog matches (texts then stay in English).
bool installCustomizedTranslations(const QLocale &locale = QLocale());
