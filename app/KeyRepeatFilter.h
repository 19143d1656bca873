#pragma once

#include <QObject>

class QKeyEvent;

// A key held down acts once: its auto-repeated presses are swallowed before shortcuts or the
// live view see them, so a gloved finger resting on R starts one recording, not a burst. The
// Macro size keys (Ctrl+±) may repeat, and so may typing into a text field.
class KeyRepeatFilter : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool isRepeat(const QKeyEvent& key) const;

    // The last release of a key: a repeat the platform did not mark as one comes as a release
    // and a press of the same key at the same moment.
    int m_releasedKey = 0;
    quint64 m_releasedAt = 0;
};
