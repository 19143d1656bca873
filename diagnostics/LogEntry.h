#pragma once

#include "diagnostics/LogLevel.h"

#include <QDateTime>
#include <QString>
#include <QUuid>

struct LogEntry {
    QUuid id;
    QDateTime date;
    LogLevel level = LogLevel::info;
    QString message;
};
