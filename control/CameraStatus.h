#pragma once

#include <QCoreApplication>
#include <QString>

// The camera state shown to the user, in this order.
enum class CameraStatus {
    ready,
    searching,
    live,
    noCameras,
    cameraError,
    noImage,
    restarting,
    cameraDisconnected,
    stopped,
    recordingError,
};

inline QString cameraStatusLabel(CameraStatus status) {
    switch (status) {
    case CameraStatus::ready:
        return QCoreApplication::translate("CameraStatus", "Bereit");
    case CameraStatus::searching:
        return QCoreApplication::translate("CameraStatus", "Suche Kameras…");
    case CameraStatus::live:
        return QCoreApplication::translate("CameraStatus", "Live");
    case CameraStatus::noCameras:
        return QCoreApplication::translate("CameraStatus", "Keine Kameras");
    case CameraStatus::cameraError:
        return QCoreApplication::translate("CameraStatus", "Kamera-Fehler");
    case CameraStatus::noImage:
        return QCoreApplication::translate("CameraStatus", "Kamera ohne Bild");
    case CameraStatus::restarting:
        return QCoreApplication::translate("CameraStatus", "Neustart…");
    case CameraStatus::cameraDisconnected:
        return QCoreApplication::translate("CameraStatus", "Kamera getrennt");
    case CameraStatus::stopped:
        return QCoreApplication::translate("CameraStatus", "Gestoppt");
    case CameraStatus::recordingError:
        return QCoreApplication::translate("CameraStatus", "Aufnahme-Fehler");
    }
    return {};
}
