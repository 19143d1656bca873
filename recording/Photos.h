#pragma once

#include "media/PixelBuffer.h"
#include "recording/CompositeLayout.h"
#include "recording/CompositeRenderer.h"

#include <QImage>
#include <QString>
#include <QStringList>

#include <functional>

#include <optional>
#include <vector>

// Everything one photo press needs, taken from the newest frames at the moment of the press.
struct SnapshotJob {
    PixelBuffer wide;
    PixelBuffer macro;        // may be null
    QImage overlay;           // the watermark for this canvas; may be null
    SizeD canvas{1920, 1080}; // 2560 × 1440 with the high resolution
    double macroFraction = defaultMacroFraction;
    double macroZoom = 1.0;        // 1.0 without Macro frame
    PointD macroOffset;            // (0, 0) without Macro frame
    std::optional<QString> folder; // the recording folder, if one is chosen
};

// One picture of a press, not yet rendered, with its kind ("Wide", "Macro", "Ansicht").
struct PhotoImage {
    QString kind;
    CompositePlan plan;
    CompositeSources sources;
};

// Runs on the photo queue: builds the Wide, Macro (if present) and composite pictures at
// canvas size, each with the watermark, and writes them. Returns the paths of the files written.
QStringList renderPhotos(const SnapshotJob& job);

// Renders, encodes (JPEG, quality 95) and writes each image as
// folder/"OSTREL-<timestamp>-<kind>.jpg", replacing a file of that name; each file appears
// complete or not at all. Reports the outcome to the diagnostic log, naming the kinds saved
// when not all were. Returns the paths written.
QStringList writePhotos(const std::vector<PhotoImage>& images, CompositeRenderer& renderer,
                        const std::optional<QString>& folder);

// The local time now as "yyyy-MM-dd_HH-mm-ss", used in the names of photos and recordings.
QString photoTimestamp();
// `stamp`, or with "-2", "-3" … while `taken` says a file of that stamp exists: a saved file is
// never replaced.
QString freeTimestamp(const QString& stamp, const std::function<bool(const QString&)>& taken);
