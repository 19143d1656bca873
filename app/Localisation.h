#pragma once

#include <QLocale>

class QCoreApplication;
class QTranslator;

// Texts are German at the source. Any other system language gets the English table.
// Returns whether a translation was installed.
bool installTranslation(QCoreApplication& app, QTranslator& translator, const QLocale& locale);

// Qt's own texts (the buttons of its dialogs) are English at the source; a German system gets
// Qt's German table, so no dialog mixes the two. Returns whether it was installed.
bool installQtTranslation(QCoreApplication& app, QTranslator& translator, const QLocale& locale);
