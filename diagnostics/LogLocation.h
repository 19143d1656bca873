#pragma once

#include <QString>

// Where the diagnostic log file is written. It belongs in the documents folder; when that
// cannot take it (not writable, or a file in the folder's place) it goes to the app's data
// folder, and `warning` says so once, naming where the log is now.
struct LogLocation {
    QString filePath;
    QString warning; // empty when the log is where it belongs
};

// The rule for a documents folder and a data folder. Creates nothing.
LogLocation chooseLogLocation(const QString& documentsFolder, const QString& dataFolder);

// The rule for this user: the documents folder and the app's data folder (QStandardPaths, so
// the application's names must be set).
LogLocation logLocation();
