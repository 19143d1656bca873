#pragma once

#include <QString>
#include <QUrl>

#include <optional>

// Shows `item` selected in the desktop's file manager (FileManager1 over D-Bus), or opens its
// folder when no file manager answers.
void revealInFileManager(const QUrl& item);

// Free bytes the user may write on the volume holding `path`; none when it cannot be read.
std::optional<qint64> volumeFreeBytes(const QString& path);
