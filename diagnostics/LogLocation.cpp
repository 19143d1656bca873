#include "diagnostics/LogLocation.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

const QString kFileName = QStringLiteral("ostrel-diagnose.log");

// Whether lines can be appended to `filePath`: the file is writable, or the nearest existing
// folder above it lets the missing folders and the file be made.
bool canHoldLog(const QString& filePath) {
    const QFileInfo file(filePath);
    if (file.exists())
        return file.isFile() && file.isWritable();
    QFileInfo folder(file.absolutePath());
    while (!folder.exists()) {
        const QFileInfo parent(folder.absolutePath());
        if (parent.absoluteFilePath() == folder.absoluteFilePath())
            return false;
        folder = parent;
    }
    return folder.isDir() && folder.isWritable();
}

} // namespace

LogLocation chooseLogLocation(const QString& documentsFolder, const QString& dataFolder) {
    const QString documentsFile = QDir(documentsFolder).filePath(kFileName);
    if (canHoldLog(documentsFile))
        return {documentsFile, {}};
    const QString dataFile = QDir(dataFolder).filePath(kFileName);
    if (!dataFolder.isEmpty() && canHoldLog(dataFile))
        return {dataFile, QStringLiteral("Diagnoseprotokoll: %1 ist kein beschreibbarer Ordner, "
                                         "das Protokoll steht jetzt in %2")
                              .arg(QDir::toNativeSeparators(documentsFolder),
                                   QDir::toNativeSeparators(dataFile))};
    return {
        documentsFile,
        QStringLiteral("Diagnoseprotokoll: weder %1 noch %2 ist beschreibbar, die Einträge "
                       "stehen nur in der Diagnose-Anzeige und im Systemprotokoll")
            .arg(QDir::toNativeSeparators(documentsFolder), QDir::toNativeSeparators(dataFolder))};
}

LogLocation logLocation() {
    return chooseLogLocation(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation),
                             QStandardPaths::writableLocation(QStandardPaths::AppDataLocation));
}
