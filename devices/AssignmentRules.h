#pragma once

#include <QString>
#include <QStringList>

// The cameras the setup starts with: stored choices are kept while they are present (and, for
// Macro, differ from Wide); otherwise the first present camera, and for Macro the first one
// that is not Wide. Empty when there is none.
struct CameraChoice {
    QString wide;
    QString macro;
    friend bool operator==(const CameraChoice&, const CameraChoice&) = default;
};
CameraChoice preselectCameras(const QStringList& presentIDs, const CameraChoice& stored);

// Wide and Macro name the same camera; two empty assignments do not count.
inline bool sameCameraChosen(const QString& wide, const QString& macro) {
    return !wide.isEmpty() && wide == macro;
}
