#pragma once

#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

class QDBusConnection;

// Opens a folder in the desktop's default file manager without waiting for it: xdg-open, or
// QDesktopServices where xdg-open is missing. `failed` runs (later, on this thread) when
// neither could open it: no file manager on this desktop.
void openFolderExternally(const QUrl& folder, std::function<void()> failed = {});

using FolderOpener = std::function<void(const QUrl& folder)>;

// Shows `item` selected in the desktop's file manager (FileManager1.ShowItems on `bus`), never
// waiting for the answer: when no file manager answers, or with it an error, `openFolder` gets
// the folder instead (the item itself when it is a folder, else the folder holding it).
void revealInFileManager(const QUrl& item, const QDBusConnection& bus, FolderOpener openFolder);
// The same on the session bus, with openFolderExternally as the fallback; `failed` runs when
// nothing could show it.
void revealInFileManager(const QUrl& item, std::function<void()> failed = {});
