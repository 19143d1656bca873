#pragma once

#include <QString>

// The application's id: its name on the session bus and its software-centre entry.
inline QString applicationId() {
    return QStringLiteral("de.ostrel.ostrel");
}

// Names the application to Qt: the organisation and application names place its settings and
// its data folder, the same for the program window and the command-line answers.
void nameApplication();
