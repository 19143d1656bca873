#pragma once

#include "diagnostics/LogLevel.h"

#include <QByteArray>

// The platform's system log: journald with the subsystem and category as fields, standard
// error when no journal is reachable. Called from the log's file queue, never the main thread.
class SystemLog {
public:
    void write(LogLevel level, const QByteArray& utf8Message);

private:
    bool m_journalFailed = false;
};
