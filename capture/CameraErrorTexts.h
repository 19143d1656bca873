#pragma once

#include <QString>

#include <optional>

// Camera failures a person can act on, in one place so every part words them alike. Each
// function gives the German text (the log's language and the translation key); `alertFor`
// turns such a text back into the user's language for the window.
namespace CameraErrorTexts {

// The user may not open camera devices (not in the "video" group).
QString noAccess();
// Another program streams from the camera; `holder` names it ("cheese, PID 4711") or is empty.
QString busy(const QString& holder = {});
// Two cameras on one USB 2 hub: not enough isochronous bandwidth for both streams.
QString usbBandwidth();
// The role of camera `index` as the log and the messages name it: "Wide" or "Makro". Both
// cameras report the same name, so every message about one says which it is.
QString role(int index);
// "OSTREL Kamera (Makro)": the device's name with its role.
QString namedRole(const QString& name, int index);

// The assigned camera `name` was unplugged (or its port lost power) mid-session.
QString unplugged(const QString& name);
// Camera `role` ("Wide"/"Makro") named `name` stopped sending pictures.
QString stalled(const QString& role, const QString& name);
// The stream of camera `role` named `name` ended by itself (driver or transfer error).
QString streamEnded(const QString& role, const QString& name);

// The window's text for one of the texts above, translated; none for any other text.
std::optional<QString> alertFor(const QString& germanText);

} // namespace CameraErrorTexts
