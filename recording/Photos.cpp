#include "recording/Photos.h"

#include "diagnostics/OstrelLog.h"
#include "recording/Watermark.h"

#include <QBuffer>
#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QImageWriter>
#include <QSaveFile>

namespace {

std::optional<QByteArray> encodeJpeg(const PixelBuffer& pixels) {
    const QImage image(pixels.data(), pixels.width(), pixels.height(), pixels.stride(),
                       QImage::Format_ARGB32_Premultiplied);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, "jpg");
    writer.setQuality(95);
    if (!writer.write(image.convertToFormat(QImage::Format_RGB32)))
        return std::nullopt;
    return bytes;
}

// Written to a temporary name in the folder and renamed, so no half-written file remains.
std::optional<QString> writeFile(const QString& path, const QByteArray& bytes) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    if (file.write(bytes) != bytes.size()) {
        const QString error = file.errorString();
        file.cancelWriting();
        return error;
    }
    if (!file.commit())
        return file.errorString();
    return std::nullopt;
}

} // namespace

QString photoTimestamp() {
    return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd_HH-mm-ss"));
}

QString freeTimestamp(const QString& stamp, const std::function<bool(const QString&)>& taken) {
    QString free = stamp;
    for (int n = 2; taken(free) && n < 10000; ++n)
        free = stamp + QStringLiteral("-%1").arg(n);
    return free;
}

QStringList renderPhotos(const SnapshotJob& job) {
    CompositeRenderer renderer; // one per job: jobs share nothing
    const double W = job.canvas.width;
    const double H = job.canvas.height;
    const PixelBuffer overlay = pixelBufferOf(job.overlay);
    std::optional<SizeD> overlaySize;
    if (overlay)
        overlaySize = SizeD{double(overlay.width()), double(overlay.height())};

    auto single = [&](LayerSource source, const PixelBuffer& frame) {
        const SizeD size{double(frame.width()), double(frame.height())};
        CompositePlan plan =
            stampOverlay(aspectFill(halfTurn(sourceLayer(source, size)), W, H), overlaySize);
        plan.size = job.canvas; // an empty picture still gives a (black) canvas-sized photo
        return plan;
    };

    std::vector<PhotoImage> images;
    const CompositeSources wideOnly{job.wide, {}, overlay};
    images.push_back({QStringLiteral("Wide"), single(LayerSource::wide, job.wide), wideOnly});
    if (job.macro) {
        const CompositeSources macroOnly{{}, job.macro, overlay};
        images.push_back(
            {QStringLiteral("Macro"), single(LayerSource::macro, job.macro), macroOnly});
    }
    CompositeInputs inputs;
    inputs.wide = {double(job.wide.width()), double(job.wide.height())};
    if (job.macro)
        inputs.macro = SizeD{double(job.macro.width()), double(job.macro.height())};
    inputs.canvas = job.canvas;
    inputs.macroFraction = job.macroFraction;
    inputs.macroZoom = job.macroZoom;
    inputs.macroOffset = job.macroOffset;
    inputs.overlay = overlaySize;
    images.push_back(
        {QStringLiteral("Ansicht"), composeFrame(inputs), {job.wide, job.macro, overlay}});
    return writePhotos(images, renderer, job.folder);
}

QStringList writePhotos(const std::vector<PhotoImage>& images, CompositeRenderer& renderer,
                        const std::optional<QString>& folder) {
    if (!folder) {
        logFromAnyThread(LogLevel::warn,
                         QStringLiteral("Kein Aufnahmeordner gewählt — Fotos nicht gespeichert"));
        return {};
    }
    const QDir dir(*folder);
    // Every press keeps its set: a second one within the same second gets "-2", and so on.
    const QString stamp = photoTimestamp();
    const auto taken = [&](const QString& timestamp) {
        for (const PhotoImage& image : images)
            if (QFileInfo::exists(dir.filePath(QStringLiteral("OSTREL-") + timestamp +
                                               QLatin1Char('-') + image.kind +
                                               QStringLiteral(".jpg"))))
                return true;
        return false;
    };
    const QString timestamp = freeTimestamp(stamp, taken);
    QStringList saved;
    QStringList kinds;
    for (const PhotoImage& image : images) {
        const PixelBuffer pixels = renderer.renderImage(image.plan, image.sources);
        if (!pixels)
            continue;
        const std::optional<QByteArray> jpeg = encodeJpeg(pixels);
        if (!jpeg)
            continue;
        const QString name = QStringLiteral("OSTREL-") + timestamp + QLatin1Char('-') + image.kind +
                             QStringLiteral(".jpg");
        if (const auto error = writeFile(dir.filePath(name), *jpeg)) {
            logFromAnyThread(LogLevel::error,
                             QStringLiteral("Foto speichern fehlgeschlagen: ") +
                                 (error->isEmpty() ? QStringLiteral("unbekannt") : *error));
            continue;
        }
        saved.append(dir.filePath(name));
        kinds.append(image.kind);
    }
    if (saved.isEmpty()) {
        logFromAnyThread(LogLevel::error, QStringLiteral("Keine Fotos gespeichert"));
        return saved;
    }
    logFromAnyThread(LogLevel::event,
                     QString::number(saved.size()) +
                         QStringLiteral(" Fotos gespeichert (Wide, Macro, Ansicht)"));
    // The line above names all three kinds whatever was written; a short set says what it holds.
    if (saved.size() < 3)
        logFromAnyThread(LogLevel::info,
                         QStringLiteral("Gespeicherte Fotos: ") + kinds.join(QStringLiteral(", ")));
    return saved;
}
