#include "app/KeyRepeatFilter.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QKeySequence>

namespace {

// No hand presses one key twice this fast.
constexpr quint64 repeatGapMs = 20;

bool mayRepeat(const QKeyEvent& key) {
    if (key.matches(QKeySequence::ZoomIn) || key.matches(QKeySequence::ZoomOut))
        return true;
    // Text fields take held keys as typing (a held Backspace deletes on).
    const QObject* focus = QGuiApplication::focusObject();
    return focus && (focus->inherits("QQuickTextInput") || focus->inherits("QQuickTextEdit"));
}

} // namespace

bool KeyRepeatFilter::isRepeat(const QKeyEvent& key) const {
    return key.isAutoRepeat() || (key.key() == m_releasedKey && key.timestamp() >= m_releasedAt &&
                                  key.timestamp() - m_releasedAt <= repeatGapMs);
}

bool KeyRepeatFilter::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::KeyRelease: {
        const auto* key = static_cast<QKeyEvent*>(event);
        m_releasedKey = key->key();
        m_releasedAt = key->timestamp();
        break;
    }
    // A shortcut is offered to the focus first (ShortcutOverride); accepting that keeps the
    // shortcut from firing, and the key press that follows is dropped here too.
    case QEvent::ShortcutOverride:
    case QEvent::KeyPress: {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (isRepeat(*key) && !mayRepeat(*key)) {
            event->accept();
            return true;
        }
        break;
    }
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}
