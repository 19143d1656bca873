#include "app/Localisation.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>

bool installTranslation(QCoreApplication& app, QTranslator& translator, const QLocale& locale) {
    if (locale.language() == QLocale::German)
        return false;
    if (!translator.load(QStringLiteral(":/i18n/ostrel_en.qm")))
        return false;
    return app.installTranslator(&translator);
}

bool installQtTranslation(QCoreApplication& app, QTranslator& translator, const QLocale& locale) {
    if (locale.language() != QLocale::German)
        return false;
    // "qt_de" gathers the tables of the modules: qtbase, qtdeclarative and the rest.
    if (!translator.load(QLocale(QLocale::German), QStringLiteral("qt"), QStringLiteral("_"),
                         QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        return false;
    return app.installTranslator(&translator);
}
