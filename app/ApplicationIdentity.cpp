#include "app/ApplicationIdentity.h"

#include <QCoreApplication>

void nameApplication() {
    QCoreApplication::setOrganizationName(QStringLiteral("ostrel"));
    QCoreApplication::setApplicationName(QStringLiteral("ostrel"));
}
