#include "capture/v4l2/V4l2Errors.h"

#include "capture/CameraErrorTexts.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

QString v4l2ErrorText(int error) {
    switch (std::abs(error)) {
    case EBUSY:
        return CameraErrorTexts::busy();
    case ENOSPC:
        return CameraErrorTexts::usbBandwidth();
    case ENODEV:
    case ENXIO:
        return QStringLiteral("Gerät getrennt");
    case ENOENT:
        return QStringLiteral("Gerät nicht gefunden");
    case EACCES:
    case EPERM:
        return CameraErrorTexts::noAccess();
    case EINVAL:
        return QStringLiteral("Format wird nicht unterstützt");
    case ENOMEM:
        return QStringLiteral("Nicht genug Speicher");
    default:
        return QStringLiteral("Gerätefehler (%1)")
            .arg(QString::fromLocal8Bit(std::strerror(std::abs(error))));
    }
}
