#pragma once

#include <mutex>
#include <utility>

// The newest of a stream of values that one thread hands to others, such as a camera's latest
// frame: putting replaces it, reading copies it. The replaced value is released after the lock,
// so a frame's pixels never go back to their pool while a reader waits.
template <class T> class Newest {
public:
    void put(T value) {
        std::lock_guard lock(m_lock);
        std::swap(m_value, value);
        ++m_generation;
        ++m_puts;
    }

    // An empty value until the next put; the count of puts starts again.
    void clear() {
        T old;
        std::lock_guard lock(m_lock);
        std::swap(m_value, old);
        ++m_generation;
        m_puts = 0;
    }

    // The value and, when asked, a number that changes with every put and clear.
    T get(int* generation = nullptr) const {
        std::lock_guard lock(m_lock);
        if (generation)
            *generation = m_generation;
        return m_value;
    }

    // How many values were put since the last call (or clear).
    int takePuts() {
        std::lock_guard lock(m_lock);
        return std::exchange(m_puts, 0);
    }

private:
    mutable std::mutex m_lock;
    T m_value{};
    int m_generation = 0;
    int m_puts = 0;
};
