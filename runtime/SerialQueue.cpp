#include "runtime/SerialQueue.h"

#include <pthread.h>

SerialQueue::SerialQueue(std::string label) : m_label(std::move(label)) {
    m_thread = std::thread([this] { run(); });
}

SerialQueue::~SerialQueue() {
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

void SerialQueue::async(std::function<void()> task) {
    {
        std::lock_guard lock(m_mutex);
        m_tasks.push_back(std::move(task));
    }
    m_wake.notify_one();
}

void SerialQueue::sync(const std::function<void()>& task) {
    if (isCurrent()) {
        task();
        return;
    }
    std::mutex doneMutex;
    std::condition_variable doneSignal;
    bool done = false;
    async([&] {
        task();
        std::lock_guard lock(doneMutex);
        done = true;
        doneSignal.notify_one();
    });
    std::unique_lock lock(doneMutex);
    doneSignal.wait(lock, [&] { return done; });
}

void SerialQueue::run() {
    // Thread names are limited to 15 characters; keep the distinctive tail of the label.
    std::string name = m_label.size() > 15 ? m_label.substr(m_label.size() - 15) : m_label;
    pthread_setname_np(pthread_self(), name.c_str());

    for (;;) {
        std::function<void()> task;
        {
            std::unique_lock lock(m_mutex);
            m_wake.wait(lock, [this] { return m_stopping || !m_tasks.empty(); });
            if (m_tasks.empty())
                return; // stopping and nothing left
            task = std::move(m_tasks.front());
            m_tasks.pop_front();
        }
        task();
    }
}
