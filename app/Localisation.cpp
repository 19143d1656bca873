#include "app/Localisation.h"

#include <QCoreApplication>
#include <QTranslator>

bool installTranslation(QCoreApplication& app, QTranslator& translator, const QLocale& locale) {
    if (locale.language() == QLocale::German)
        return false;
    if (!translator.load(QStringLiteral(":/i18n/ostrel_en.qm")))
        return false;
    return app.installTranslator(&translator);
}
