#include "app/CommandLine.h"

#include "app/ApplicationIdentity.h"
#include "app/Localisation.h"
#include "capture/v4l2/CameraStreamSaver.h"
#include "diagnostics/LogLocation.h"
#include "diagnostics/VersionText.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTranslator>

#include <cstdio>

namespace {

struct CommandLine {
    Q_DECLARE_TR_FUNCTIONS(CommandLine)
};

QString versionAnswer() {
    const VersionValues values = currentVersionValues();
    return QStringLiteral("OSTREL %1 (Build %2)\n%3 · Linux %4\n")
        .arg(values.shortVersion.value_or(QStringLiteral("?")),
             values.buildNumber.value_or(QStringLiteral("?")),
             values.systemName.value_or(QStringLiteral("?")),
             values.systemVersion.value_or(QStringLiteral("?")));
}

QString helpAnswer() {
    // The same store the application opens, so the path shown is the one it uses.
    const QString settingsFile =
        QSettings(QStringLiteral("ostrel"), QStringLiteral("ostrel")).fileName();
    QString text;
    text += CommandLine::tr("Aufruf: ostrel [OPTION]") + u'\n';
    text += u'\n';
    text +=
        CommandLine::tr("Live-Bild und Aufnahme der OSTREL-Lupen-Kameras (Wide + Macro).") + u'\n';
    text += CommandLine::tr("Ohne Option öffnet sich das Programmfenster.") + u'\n';
    text += u'\n';
    text += CommandLine::tr("Optionen:") + u'\n';
    text += QStringLiteral("  -h, --help      ") +
            CommandLine::tr("diese Hilfe zeigen und beenden") + u'\n';
    text += QStringLiteral("  -v, --version   ") +
            CommandLine::tr("die Version zeigen und beenden") + u'\n';
    text += QStringLiteral("  --save-camera-stream ") + CommandLine::tr("GERÄT DATEI SEKUNDEN") +
            QStringLiteral("\n      ") +
            CommandLine::tr("die Bilder einer Kamera (z. B. /dev/video0) SEKUNDEN lang unverändert "
                            "als MJPEG-Strom in DATEI schreiben, für den Support; abspielen mit "
                            "OSTREL_VIRTUAL_STREAMS") +
            u'\n';
    text += u'\n';
    text += CommandLine::tr("Umgebungsvariablen:") + u'\n';
    text += QStringLiteral("  OSTREL_VIRTUAL_DEVICES=1\n      ") +
            CommandLine::tr(
                "statt echter Kameras ein virtuelles Kamerapaar und ein virtuelles Mikrofon "
                "verwenden (zum Ausprobieren ohne Kameras)") +
            u'\n';
    text += QStringLiteral("  OSTREL_VIRTUAL_FAULTS=…\n      ") +
            CommandLine::tr("Fehler der virtuellen Geräte vorgeben, z. B. "
                            "„silent=ostrel-virtual-camera-2“ (Macro-Kamera ohne Bild)") +
            u'\n';
    text += QStringLiteral("  OSTREL_VIRTUAL_STREAMS=…\n      ") +
            CommandLine::tr("virtuelle Kameras spielen statt ihrer Szene MJPEG-Dateien ab, z. B. "
                            "„ostrel-virtual-camera-1=wide.mjpeg;"
                            "ostrel-virtual-camera-2=macro.mjpeg“") +
            u'\n';
    text += QStringLiteral("  LANGUAGE, LC_ALL, LANG\n      ") +
            CommandLine::tr("Sprache: Deutsch bei deutscher Systemsprache, sonst Englisch") + u'\n';
    text += QStringLiteral("  QT_QPA_PLATFORM\n      ") +
            CommandLine::tr("Anzeigesystem, z. B. „wayland“ oder „xcb“") + u'\n';
    text += u'\n';
    text += CommandLine::tr("Einstellungen: %1").arg(settingsFile) + u'\n';
    text += CommandLine::tr("Diagnoseprotokoll: %1").arg(logLocation().filePath) + u'\n';
    return text;
}

void print(std::FILE* stream, const QString& text) {
    const QByteArray bytes = (text + u'\n').toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
}

int saveCameraStreamAnswer(const QStringList& arguments) {
    const std::optional<CameraStreamArguments> wanted = cameraStreamArguments(arguments);
    if (!wanted) {
        print(stderr, CommandLine::tr("Aufruf: ostrel --save-camera-stream GERÄT DATEI SEKUNDEN "
                                      "(Sekunden von 0,1 bis 3600)"));
        return 2;
    }
    const SavedCameraStream saved =
        saveCameraStream(systemV4l2Io(), wanted->device.toLocal8Bit().toStdString(), wanted->file,
                         std::chrono::milliseconds(qRound64(wanted->seconds * 1000)));
    if (saved.buffers > 0)
        print(stdout,
              CommandLine::tr("%1 Bilder (%2 MB) in %3 geschrieben")
                  .arg(QString::number(saved.buffers),
                       QLocale().toString(double(saved.bytes) / 1e6, 'f', 1), wanted->file));
    if (!saved.error.isEmpty()) {
        print(stderr, saved.error);
        return 1;
    }
    return 0;
}

} // namespace

std::optional<CameraStreamArguments> cameraStreamArguments(const QStringList& arguments) {
    const qsizetype at = arguments.indexOf(QStringLiteral("--save-camera-stream"));
    if (at < 1 || at + 3 >= arguments.size())
        return std::nullopt;
    bool number = false;
    const double seconds = arguments.at(at + 3).toDouble(&number);
    if (!number || !(seconds >= 0.1 && seconds <= 3600) || arguments.at(at + 1).isEmpty() ||
        arguments.at(at + 2).isEmpty())
        return std::nullopt;
    return CameraStreamArguments{arguments.at(at + 1), arguments.at(at + 2), seconds};
}

namespace {

// The options QGuiApplication takes itself, with one dash or two; the first group takes a value
// (as the next argument, or after "=").
const QStringList qtOptionsWithValue{
    QStringLiteral("platform"),        QStringLiteral("platformpluginpath"),
    QStringLiteral("platformtheme"),   QStringLiteral("plugin"),
    QStringLiteral("qwindowgeometry"), QStringLiteral("qwindowtitle"),
    QStringLiteral("qwindowicon"),     QStringLiteral("style"),
    QStringLiteral("stylesheet"),      QStringLiteral("session"),
    QStringLiteral("display"),         QStringLiteral("name"),
    QStringLiteral("title"),           QStringLiteral("geometry"),
    QStringLiteral("fontengine")};
const QStringList qtFlags{QStringLiteral("reverse"), QStringLiteral("nograb"),
                          QStringLiteral("dograb"), QStringLiteral("widgetcount"),
                          QStringLiteral("qmljsdebugger")};

} // namespace

// The first option that is neither ours nor Qt's.
std::optional<QString> unknownOption(const QStringList& arguments) {
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == u"--")
            break;
        if (!argument.startsWith(u'-') || argument.size() < 2)
            continue;
        const QString name =
            argument.mid(argument.startsWith(QStringLiteral("--")) ? 2 : 1).section(u'=', 0, 0);
        if (qtOptionsWithValue.contains(name)) {
            if (!argument.contains(u'='))
                ++i;
        } else if (!qtFlags.contains(name)) {
            return argument;
        }
    }
    return std::nullopt;
}

std::optional<CommandLineRequest> commandLineRequest(const QStringList& arguments) {
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == u"--help" || argument == u"-h")
            return CommandLineRequest::help;
        if (argument == u"--version" || argument == u"-v")
            return CommandLineRequest::version;
        if (argument == u"--save-camera-stream")
            return CommandLineRequest::saveCameraStream;
        if (argument == u"--")
            break;
    }
    if (unknownOption(arguments))
        return CommandLineRequest::unknownOption;
    return std::nullopt;
}

QString commandLineText(CommandLineRequest request) {
    switch (request) {
    case CommandLineRequest::help:
        return helpAnswer();
    case CommandLineRequest::version:
        return versionAnswer();
    case CommandLineRequest::saveCameraStream:
    case CommandLineRequest::unknownOption:
        break; // answered by doing it, or on standard error
    }
    return {};
}

std::optional<int> answerCommandLine(int& argc, char** argv) {
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    const std::optional<CommandLineRequest> request = commandLineRequest(arguments);
    if (!request)
        return std::nullopt;
    QCoreApplication core(argc, argv);
    nameApplication(); // the data folder named in --help is the app's
    QTranslator translator;
    installTranslation(core, translator, QLocale::system());
    if (*request == CommandLineRequest::saveCameraStream)
        return saveCameraStreamAnswer(arguments);
    if (*request == CommandLineRequest::unknownOption) {
        print(stderr, CommandLine::tr("Unbekannte Option: %1").arg(*unknownOption(arguments)));
        print(stderr, helpAnswer());
        return 2;
    }
    const QByteArray text = commandLineText(*request).toLocal8Bit();
    std::fwrite(text.constData(), 1, size_t(text.size()), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}
