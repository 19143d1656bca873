#include "ShortcutText.h"

#include <QKeySequence>

QString ShortcutText::of(const QVariant& shortcut) {
    QKeySequence sequence;
    if (shortcut.typeId() == QMetaType::QString)
        sequence = QKeySequence(shortcut.toString());
    else if (shortcut.canConvert<int>() && shortcut.toInt() > 0)
        sequence = QKeySequence::keyBindings(QKeySequence::StandardKey(shortcut.toInt())).value(0);
    else if (shortcut.canConvert<QKeySequence>())
        sequence = shortcut.value<QKeySequence>();
    return sequence.toString(QKeySequence::NativeText);
}
