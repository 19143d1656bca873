#include "capture/CameraErrorTexts.h"

#include <QCoreApplication>
#include <QRegularExpression>

#include <array>

namespace {

constexpr const char* context = "CameraErrorTexts";

// The German keys; %1, %2 are filled in after translation.
constexpr const char* noAccessKey = QT_TRANSLATE_NOOP(
    "CameraErrorTexts", "Kein Zugriff auf die Kamera — Benutzer zur Gruppe „video“ hinzufügen "
                        "(sudo usermod -aG video $USER), neu anmelden und neu starten (↻)");
constexpr const char* busyKey = QT_TRANSLATE_NOOP(
    "CameraErrorTexts",
    "Kamera wird von einem anderen Programm verwendet — dieses Programm beenden, dann neu "
    "starten (↻)");
constexpr const char* busyByKey = QT_TRANSLATE_NOOP(
    "CameraErrorTexts",
    "Kamera wird von einem anderen Programm verwendet (%1) — dieses Programm beenden, dann neu "
    "starten (↻)");
constexpr const char* bandwidthKey = QT_TRANSLATE_NOOP(
    "CameraErrorTexts", "USB-Bandbreite reicht nicht — Kameras an verschiedene USB-Anschlüsse "
                        "anschließen");
constexpr const char* unpluggedKey =
    QT_TRANSLATE_NOOP("CameraErrorTexts", "Kamera getrennt: %1 — USB-Verbindung/Hub prüfen");
constexpr const char* stalledKey = QT_TRANSLATE_NOOP(
    "CameraErrorTexts",
    "%1-Kamera (%2) liefert kein Bild mehr — USB-Verbindung/Hub prüfen und neu starten (↻)");
constexpr const char* endedKey = QT_TRANSLATE_NOOP(
    "CameraErrorTexts",
    "Bildstrom der %1-Kamera (%2) abgebrochen — neu starten (↻); bei Wiederholung "
    "USB-Verbindung/Hub prüfen");

QString german(const char* key) {
    return QString::fromUtf8(key);
}

} // namespace

namespace CameraErrorTexts {

QString role(int index) {
    return index == 0 ? QStringLiteral("Wide") : QStringLiteral("Makro");
}

QString namedRole(const QString& name, int index) {
    return QStringLiteral("%1 (%2)").arg(name, role(index));
}

QString noAccess() {
    return german(noAccessKey);
}

QString busy(const QString& holder) {
    return holder.isEmpty() ? german(busyKey) : german(busyByKey).arg(holder);
}

QString usbBandwidth() {
    return german(bandwidthKey);
}

QString unplugged(const QString& name) {
    return german(unpluggedKey).arg(name);
}

QString stalled(const QString& role, const QString& name) {
    return german(stalledKey).arg(role, name);
}

QString streamEnded(const QString& role, const QString& name) {
    return german(endedKey).arg(role, name);
}

std::optional<QString> alertFor(const QString& germanText) {
    static const std::array keys{noAccessKey,  busyKey,    busyByKey, bandwidthKey,
                                 unpluggedKey, stalledKey, endedKey};
    for (const char* key : keys) {
        // The key as a pattern: its placeholders match any text.
        static const QRegularExpression placeholder(QStringLiteral("%[12]"));
        QStringList parts;
        for (const QString& part : german(key).split(placeholder))
            parts << QRegularExpression::escape(part);
        const QRegularExpression expression(
            QStringLiteral("^") + parts.join(QStringLiteral("(.*)")) + QStringLiteral("$"));
        const QRegularExpressionMatch match = expression.match(germanText);
        if (!match.hasMatch())
            continue;
        QString text = QCoreApplication::translate(context, key);
        for (int i = 1; i <= match.lastCapturedIndex(); ++i)
            text = text.arg(match.captured(i));
        return text;
    }
    return std::nullopt;
}

} // namespace CameraErrorTexts
