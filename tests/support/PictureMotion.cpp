#include "support/PictureMotion.h"

#include "support/SyntheticMedia.h"

#include <opencv2/imgproc.hpp>

#include <cmath>

namespace synthetic {

namespace {

cv::Mat greyOf(const PixelBuffer& picture, const cv::Rect& region) {
    cv::Mat grey, floating;
    cv::cvtColor(asMat(picture)(region), grey, cv::COLOR_BGRA2GRAY);
    grey.convertTo(floating, CV_32F);
    return floating;
}

} // namespace

void PictureMotion::add(const PixelBuffer& picture, const cv::Rect& region, double scale) {
    cv::Mat grey = greyOf(picture, region);
    if (m_previous.empty() || m_previous.size() != grey.size()) {
        cv::createHanningWindow(m_window, grey.size(), CV_32F);
        m_path.push_back(m_path.empty() ? cv::Point2d() : m_path.back());
    } else {
        // The content of `grey` lies `shift` further right and down than in the previous one.
        const cv::Point2d shift = cv::phaseCorrelate(m_previous, grey, m_window);
        m_path.push_back(m_path.back() + shift / scale);
    }
    m_previous = grey;
}

AxisFigures PictureMotion::residualTremor() const {
    const std::size_t half = 4;
    AxisFigures sum;
    std::size_t count = 0;
    for (std::size_t i = half; i + half < m_path.size(); ++i) {
        cv::Point2d mean;
        for (std::size_t j = i - half; j <= i + half; ++j)
            mean += m_path[j] / double(2 * half + 1);
        sum.x += std::pow(m_path[i].x - mean.x, 2);
        sum.y += std::pow(m_path[i].y - mean.y, 2);
        ++count;
    }
    if (count == 0)
        return {};
    return {std::sqrt(sum.x / double(count)), std::sqrt(sum.y / double(count))};
}

AxisFigures PictureMotion::jitter() const {
    AxisFigures sum;
    for (std::size_t i = 1; i < m_path.size(); ++i) {
        sum.x += std::pow(m_path[i].x - m_path[i - 1].x, 2);
        sum.y += std::pow(m_path[i].y - m_path[i - 1].y, 2);
    }
    if (m_path.size() < 2)
        return {};
    const double n = double(m_path.size() - 1);
    return {std::sqrt(sum.x / n), std::sqrt(sum.y / n)};
}

} // namespace synthetic
