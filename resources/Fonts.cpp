#include "resources/Fonts.h"

#include <QFontDatabase>
#include <QString>

bool registerBrandFont() {
    return QFontDatabase::addApplicationFont(QStringLiteral(":/fonts/ArchivoBlack-Regular.ttf")) >=
           0;
}
