#include "TestImages.h"

#include <QDir>

QString testOutputFolder() {
    QString folder = qEnvironmentVariable("OSTREL_TEST_OUTPUT");
    if (folder.isEmpty())
        folder =
            QDir::home().filePath(QStringLiteral("test-output")); // HOME is the test's temp dir
    QDir().mkpath(folder);
    return folder;
}
