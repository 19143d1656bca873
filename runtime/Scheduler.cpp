#include "runtime/Scheduler.h"

#include <QCoreApplication>
#include <QTimer>

#include <algorithm>

namespace {

class QtScheduler : public Scheduler {
protected:
    void arm(Duration delay, std::function<void()> fire) override {
        QTimer::singleShot(delay, Qt::PreciseTimer, QCoreApplication::instance(), std::move(fire));
    }
};

} // namespace

Scheduler& Scheduler::system() {
    static QtScheduler scheduler;
    return scheduler;
}

ScheduledTask Scheduler::after(Duration delay, QObject* owner, std::function<void()> step) {
    ScheduledTask task;
    task.m_cancelled = std::make_shared<bool>(false);
    arm(delay,
        [owner = QPointer<QObject>(owner), cancelled = task.m_cancelled, step = std::move(step)] {
            if (*cancelled || !owner)
                return;
            *cancelled = true; // a one-shot step is over once it has run
            step();
        });
    return task;
}

ScheduledTask Scheduler::every(Duration period, QObject* owner, std::function<void()> step) {
    ScheduledTask task;
    task.m_cancelled = std::make_shared<bool>(false);
    armRepeating(period, owner, task.m_cancelled,
                 std::make_shared<std::function<void()>>(std::move(step)));
    return task;
}

void Scheduler::armRepeating(Duration period, QPointer<QObject> owner,
                             std::shared_ptr<bool> cancelled,
                             std::shared_ptr<std::function<void()>> step) {
    arm(period, [this, period, owner, cancelled, step] {
        if (*cancelled || !owner)
            return;
        (*step)();
        if (!*cancelled && owner) // the step may have cancelled its own task
            armRepeating(period, owner, cancelled, step);
    });
}

void ManualScheduler::arm(Duration delay, std::function<void()> fire) {
    m_pending.push_back({m_now + std::max(delay, Duration(0)), m_nextOrder++, std::move(fire)});
}

void ManualScheduler::advance(Duration by) {
    const Duration target = m_now + by;
    for (;;) {
        const auto next = std::min_element(
            m_pending.begin(), m_pending.end(), [](const Pending& a, const Pending& b) {
                return a.due != b.due ? a.due < b.due : a.order < b.order;
            });
        if (next == m_pending.end() || next->due > target)
            break;
        m_now = next->due;
        std::function<void()> fire = std::move(next->fire);
        m_pending.erase(next);
        fire(); // may arm further steps
    }
    m_now = target;
}
