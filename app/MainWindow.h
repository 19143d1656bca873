#pragma once

#include <QString>

#include <optional>

class QQmlApplicationEngine;
class SettingsStore;

// Loads the main window into the engine, with the stores as context for QML.
// Returns an error text when the window could not be created.
std::optional<QString> loadMainWindow(QQmlApplicationEngine& engine, SettingsStore& settings);
