#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// What `ostrel` is asked on its command line before any window exists.
enum class CommandLineRequest { help, version };

// The request among the arguments (argv[0] first); none starts the application. Any other
// argument is left to Qt (e.g. -platform).
std::optional<CommandLineRequest> commandLineRequest(const QStringList& arguments);

// The answer printed to standard output, translated like every other text. Needs a
// QCoreApplication for the paths it names.
QString commandLineText(CommandLineRequest request);

// Prints the answer to --help or --version with its own QCoreApplication, so that no window
// system is needed. Returns the exit code then; none starts the application.
std::optional<int> answerCommandLine(int& argc, char** argv);
