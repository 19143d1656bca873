#pragma once

#include "media/PixelBuffer.h"
#include "runtime/Newest.h"

#include <QPointF>

#include <array>
#include <map>
#include <optional>

// The newest frame of one camera, with the stabiliser's result for it (Macro only).
struct StoredFrame {
    PixelBuffer buffer;
    QPointF stabOffset; // fractions of the frame's width and height
    double stabZoom = 1.0;
};

// The newest frame per camera index (0 Wide, 1 Macro) and how many were stored since the counts
// were last taken. Safe from any thread; each call holds a lock only for its own field work.
class FrameStore {
public:
    static constexpr int cameras = 2;

    // The process-wide store, made on first use and never destroyed.
    static FrameStore& shared();

    void store(int index, StoredFrame frame);
    std::optional<StoredFrame> latest(int index) const;
    std::optional<PixelBuffer> latestBuffer(int index) const;
    std::map<int, int> takeCounts();
    void clear();
    void clear(int index);

private:
    Newest<StoredFrame>* slot(int index);
    const Newest<StoredFrame>* slot(int index) const;

    std::array<Newest<StoredFrame>, cameras> m_slots; // a null buffer: nothing stored
};
