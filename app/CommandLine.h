#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// What `ostrel` is asked on its command line before any window exists.
enum class CommandLineRequest { help, version, saveCameraStream, unknownOption };

// The request among the arguments (argv[0] first); none starts the application. Qt's own
// options (-platform xcb, --style=fusion …) are left to Qt; any other option is unknown.
std::optional<CommandLineRequest> commandLineRequest(const QStringList& arguments);
// The first option among the arguments that is neither the program's nor Qt's.
std::optional<QString> unknownOption(const QStringList& arguments);

// `--save-camera-stream DEVICE FILE SECONDS`: a camera's stream saved to a file for support.
struct CameraStreamArguments {
    QString device;
    QString file;
    double seconds = 0;
};
// The option's three arguments; none when one is missing or SECONDS is not a number of
// seconds from a tenth to an hour.
std::optional<CameraStreamArguments> cameraStreamArguments(const QStringList& arguments);

// The answer to --help or --version printed to standard output, translated like every other
// text. Needs a QCoreApplication for the paths it names.
QString commandLineText(CommandLineRequest request);

// Answers --help or --version, or saves a camera stream, with its own QCoreApplication, so that
// no window system is needed. Returns the exit code then; none starts the application.
std::optional<int> answerCommandLine(int& argc, char** argv);
