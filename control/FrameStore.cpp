#include "control/FrameStore.h"

FrameStore& FrameStore::shared() {
    static auto* store = new FrameStore; // outlives every capture queue at exit
    return *store;
}

Newest<StoredFrame>* FrameStore::slot(int index) {
    return index >= 0 && index < cameras ? &m_slots[std::size_t(index)] : nullptr;
}

const Newest<StoredFrame>* FrameStore::slot(int index) const {
    return index >= 0 && index < cameras ? &m_slots[std::size_t(index)] : nullptr;
}

void FrameStore::store(int index, StoredFrame frame) {
    if (Newest<StoredFrame>* s = slot(index); s && frame.buffer)
        s->put(std::move(frame));
}

std::optional<StoredFrame> FrameStore::latest(int index) const {
    const Newest<StoredFrame>* s = slot(index);
    if (!s)
        return std::nullopt;
    StoredFrame frame = s->get();
    if (!frame.buffer)
        return std::nullopt;
    return frame;
}

std::optional<PixelBuffer> FrameStore::latestBuffer(int index) const {
    std::optional<StoredFrame> frame = latest(index);
    if (!frame)
        return std::nullopt;
    return std::move(frame->buffer);
}

std::map<int, int> FrameStore::takeCounts() {
    std::map<int, int> counts;
    for (int index = 0; index < cameras; ++index)
        if (const int stored = m_slots[std::size_t(index)].takePuts(); stored > 0)
            counts[index] = stored;
    return counts;
}

void FrameStore::clear() {
    for (Newest<StoredFrame>& s : m_slots)
        s.clear();
}

void FrameStore::clear(int index) {
    if (Newest<StoredFrame>* s = slot(index))
        s->clear();
}
