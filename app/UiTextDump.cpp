#include "app/UiTextDump.h"

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSaveFile>
#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int dumpSockets[2] = {-1, -1}; // written by the handler, the only thing it may touch

void onDumpSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(dumpSockets[0], &byte, 1);
}

void collect(const QQuickWindow& window, QQuickItem* item, QStringList& lines) {
    if (!item->isVisible() || item->opacity() <= 0)
        return;
    for (const char* property : {"text", "placeholderText"}) {
        const QVariant value = item->property(property);
        if (value.typeId() != QMetaType::QString || value.toString().isEmpty())
            continue;
        const QRectF scene = item->mapRectToScene(item->boundingRect());
        const QPoint at = window.position() + scene.topLeft().toPoint();
        QString text = value.toString();
        text.replace(u'\n', QStringLiteral("\\n"));
        lines << QStringLiteral("%1\t%2\t%3,%4,%5,%6\t%7")
                     .arg(window.title(), item->objectName())
                     .arg(at.x())
                     .arg(at.y())
                     .arg(qRound(scene.width()))
                     .arg(qRound(scene.height()))
                     .arg(text);
    }
    for (QQuickItem* child : item->childItems())
        collect(window, child, lines);
}

} // namespace

UiTextDump::UiTextDump(QString path, QObject* parent) : QObject(parent), m_path(std::move(path)) {
    if (m_path.isEmpty() || ::socketpair(AF_UNIX, SOCK_STREAM, 0, dumpSockets) != 0)
        return;
    m_notifier = new QSocketNotifier(dumpSockets[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        char byte;
        [[maybe_unused]] const auto read = ::read(dumpSockets[1], &byte, 1);
        write();
    });
    struct sigaction action {};
    action.sa_handler = onDumpSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGUSR1, &action, nullptr);
}

UiTextDump::~UiTextDump() {
    if (m_notifier)
        signal(SIGUSR1, SIG_DFL);
}

QString UiTextDump::visibleTexts() {
    QStringList lines;
    for (QWindow* window : QGuiApplication::topLevelWindows()) {
        auto* quick = qobject_cast<QQuickWindow*>(window);
        if (quick && quick->isVisible())
            collect(*quick, quick->contentItem(), lines);
    }
    return lines.join(u'\n') + u'\n';
}

void UiTextDump::write() const {
    // Everything queued before the signal (a click, a key) is shown before the texts are read.
    QCoreApplication::processEvents();
    QSaveFile file(m_path);
    if (file.open(QIODevice::WriteOnly))
        file.write(visibleTexts().toUtf8());
    file.commit();
}
