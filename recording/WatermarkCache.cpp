#include "recording/WatermarkCache.h"

#include "recording/Watermark.h"

#include <algorithm>
#include <chrono>

namespace {

// An empty name draws the same as none.
WatermarkKey normalised(WatermarkKey key) {
    if (key.text && key.text->isEmpty())
        key.text.reset();
    return key;
}

} // namespace

WatermarkCache::WatermarkCache() : m_queue(std::make_unique<SerialQueue>("com.ostrel.watermark")) {
}

WatermarkCache::~WatermarkCache() = default;

std::shared_future<QImage> WatermarkCache::request(const WatermarkKey& raw) {
    const WatermarkKey key = normalised(raw);
    std::lock_guard lock(m_lock);
    const auto found = std::find_if(m_images.begin(), m_images.end(),
                                    [&](const auto& entry) { return entry.first == key; });
    if (found != m_images.end()) {
        std::rotate(found, found + 1, m_images.end()); // the newest use last
        return m_images.back().second;
    }
    auto made = std::make_shared<std::promise<QImage>>();
    std::shared_future<QImage> image = made->get_future().share();
    m_queue->async(
        [made, key] { made->set_value(makeWatermark(key.text, key.width, key.height)); });
    m_images.emplace_back(key, image);
    if (m_images.size() > kept)
        m_images.erase(m_images.begin());
    return image;
}

void WatermarkCache::prepare(const WatermarkKey& key) {
    request(key);
}

std::optional<QImage> WatermarkCache::find(const WatermarkKey& key) {
    const std::shared_future<QImage> image = request(key);
    if (image.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
        return std::nullopt;
    return image.get();
}

void WatermarkCache::whenMade(const WatermarkKey& key, std::function<void(const QImage&)> done) {
    // Queued after the making, on the same serial queue.
    m_queue->async([image = request(key), done = std::move(done)] { done(image.get()); });
}

QImage WatermarkCache::get(const WatermarkKey& key) {
    return request(key).get();
}
