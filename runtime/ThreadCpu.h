#pragma once

#include <QByteArrayList>

#include <chrono>

// CPU time used so far by this process's threads whose names start with one of `prefixes`
// (Linux keeps 15 characters of a name), living threads only. Reads /proc: a few hundred
// microseconds, so for occasional measurements, not per frame.
std::chrono::microseconds cpuTimeOfThreads(const QByteArrayList& prefixes);

// CPU time used so far by the whole process, ended threads included.
std::chrono::microseconds processCpuTime();

// CPUs this process may run on.
int usableCpuCount();
