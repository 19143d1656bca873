#include "app/SceneGraphChoice.h"

#include <QDir>
#include <QQuickWindow>
#include <QSGRendererInterface>

std::optional<QString> chooseSceneGraph() {
    if (qEnvironmentVariableIsSet("QT_QUICK_BACKEND") ||
        qEnvironmentVariableIsSet("QSG_RHI_BACKEND"))
        return std::nullopt;
    // Device nodes list only with QDir::System.
    if (!QDir(QStringLiteral("/dev/dri"))
             .entryList({QStringLiteral("renderD*")}, QDir::System | QDir::Files)
             .isEmpty())
        return std::nullopt;
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    return QStringLiteral("Keine Grafikkarte gefunden: Bilder mit dem Software-Renderer von Qt");
}
