#pragma once

#include <QLocale>

class QCoreApplication;
class QTranslator;

// Texts are German at the source. Any other system language gets the English table.
// Returns whether a translation was installed.
bool installTranslation(QCoreApplication& app, QTranslator& translator, const QLocale& locale);
