#pragma once

#include "runtime/SerialQueue.h"

#include <QImage>
#include <QString>

#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

// One watermark: its canvas size and the practice name in it (none: the mark alone).
struct WatermarkKey {
    std::optional<QString> text;
    int width = 0;
    int height = 0;
    bool operator==(const WatermarkKey&) const = default;
};

// Watermark images made on a queue of their own, once per canvas size and text, and kept: drawing
// and blurring one at 2560 × 1440 takes tens of milliseconds, which a record or photo press on
// the GUI thread must not wait for. Any thread.
class WatermarkCache {
public:
    WatermarkCache();
    ~WatermarkCache();
    WatermarkCache(const WatermarkCache&) = delete;
    WatermarkCache& operator=(const WatermarkCache&) = delete;

    // Starts making the image unless it is made or under way.
    void prepare(const WatermarkKey& key);
    // The image when it is made; none while it is under way (asking starts it).
    std::optional<QImage> find(const WatermarkKey& key);
    // Calls `done` on the cache's queue with the image once it is made.
    void whenMade(const WatermarkKey& key, std::function<void(const QImage&)> done);
    // The image, waiting for it if need be: for worker threads only.
    QImage get(const WatermarkKey& key);

private:
    std::shared_future<QImage> request(const WatermarkKey& key);

    static constexpr std::size_t kept = 4; // both sizes, with and without the name
    std::mutex m_lock;
    std::vector<std::pair<WatermarkKey, std::shared_future<QImage>>> m_images; // newest last
    // Last: destroyed first, so queued work still finds the images.
    std::unique_ptr<SerialQueue> m_queue;
};
