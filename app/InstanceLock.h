#pragma once

#include <QString>

// One running OSTREL per user: an exclusive flock on a file in the user's runtime folder, held
// for as long as this object lives. The kernel drops it when the process ends, crashed or not,
// so a lock left behind never blocks a start; the file is closed on exec, so no program the
// app starts keeps the lock.
class InstanceLock {
public:
    enum class State {
        held,          // this process is the one instance
        heldElsewhere, // another process holds it
        unavailable,   // the file could not be opened: nothing decides, this process runs
    };

    explicit InstanceLock(const QString& path);
    ~InstanceLock();
    InstanceLock(const InstanceLock&) = delete;
    InstanceLock& operator=(const InstanceLock&) = delete;

    State state() const { return m_state; }
    // Why the lock is unavailable.
    const QString& error() const { return m_error; }

    // The lock file in the user's runtime folder (XDG_RUNTIME_DIR, else Qt's fallback for it).
    static QString defaultPath();

private:
    int m_fd = -1;
    State m_state = State::unavailable;
    QString m_error;
};
