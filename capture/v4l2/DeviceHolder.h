#pragma once

#include <QString>

#include <string>
#include <sys/types.h>

// Which program holds a device node open, as "cheese, PID 4711"; empty when no other process
// of this user has it open (other users' processes cannot be looked into). Scans
// `procRoot`/<pid>/fd for a link to the node, skipping `self`.
QString deviceHolder(const std::string& devnode, pid_t self,
                     const QString& procRoot = QStringLiteral("/proc"));
