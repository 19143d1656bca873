#include "control/FrameStore.h"

FrameStore& FrameStore::shared() {
    static auto* store = new FrameStore; // outlives every capture queue at exit
    return *store;
}

void FrameStore::store(int index, StoredFrame frame) {
    std::lock_guard lock(m_lock);
    std::swap(m_frames[index], frame); // the old frame is released after the lock
    ++m_counts[index];
}

std::optional<StoredFrame> FrameStore::latest(int index) const {
    std::lock_guard lock(m_lock);
    const auto it = m_frames.find(index);
    if (it == m_frames.end())
        return std::nullopt;
    return it->second;
}

std::optional<PixelBuffer> FrameStore::latestBuffer(int index) const {
    std::lock_guard lock(m_lock);
    const auto it = m_frames.find(index);
    if (it == m_frames.end())
        return std::nullopt;
    return it->second.buffer;
}

std::map<int, int> FrameStore::takeCounts() {
    std::map<int, int> counts;
    std::lock_guard lock(m_lock);
    counts.swap(m_counts);
    return counts;
}

void FrameStore::clear() {
    std::map<int, StoredFrame> frames;
    std::lock_guard lock(m_lock);
    frames.swap(m_frames);
    m_counts.clear();
}

void FrameStore::clear(int index) {
    std::optional<StoredFrame> frame;
    std::lock_guard lock(m_lock);
    if (const auto it = m_frames.find(index); it != m_frames.end()) {
        frame = std::move(it->second); // released after the lock
        m_frames.erase(it);
    }
    m_counts.erase(index);
}
