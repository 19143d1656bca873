#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

// A named serial work queue: one thread runs the submitted tasks one at a time, in order.
// Destruction runs what is still queued, then joins the thread.
class SerialQueue {
public:
    explicit SerialQueue(std::string label);
    ~SerialQueue();

    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    const std::string& label() const { return m_label; }

    // Queues the task and returns at once.
    void async(std::function<void()> task);

    // Queues the task and waits until it has run. From the queue's own thread it runs inline,
    // since waiting there would never end.
    void sync(const std::function<void()>& task);

    // Waits until everything queued so far has run.
    void drain() {
        sync([] {});
    }

    bool isCurrent() const { return std::this_thread::get_id() == m_thread.get_id(); }

private:
    void run();

    const std::string m_label;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_tasks;
    bool m_stopping = false;
    std::thread m_thread;
};
