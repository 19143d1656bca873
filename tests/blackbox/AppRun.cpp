#include "blackbox/AppRun.h"

#include "capture/virtual/VirtualDevices.h"
#include "settings/SettingsStore.h"
#include "support/EventLoop.h"

#include <QColor>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QThread>

#include <algorithm>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <unistd.h>
#include <xcb/xcb.h>

#ifndef OSTREL_APP_BINARY
#error "OSTREL_APP_BINARY must name the built app"
#endif

void recordFor(double seconds) {
    QElapsedTimer timer;
    timer.start();
    pollUntil([&] { return timer.elapsed() >= seconds * 1000; }, int(seconds * 1000) + 5000);
}

int lineOf(const QStringList& lines, const QString& text, int from) {
    for (int i = from; i < lines.size(); ++i)
        if (lines[i].contains(text))
            return i;
    return -1;
}

namespace {

QString ostrelBinary() {
    return QStringLiteral(OSTREL_APP_BINARY);
}

// Share of the points of `area`, `step` pixels apart, that `holds` is true for.
double sampledShare(QRect area, int step, const std::function<bool(int x, int y)>& holds) {
    int hits = 0, total = 0;
    for (int y = area.top(); y < area.bottom(); y += step)
        for (int x = area.left(); x < area.right(); x += step, ++total)
            hits += holds(x, y);
    return total ? double(hits) / total : 0.0;
}

// Share of sampled pixels in `area` that are pale grey, as an alert's panel is.
double paleShare(const QImage& image, QRect area) {
    return sampledShare(area, 4, [&](int x, int y) {
        const QColor c = image.pixelColor(x, y);
        return c.value() > 215 && c.hsvSaturation() < 25;
    });
}

} // namespace

double texturedShare(const QImage& image, QRect area) {
    return sampledShare(area.adjusted(0, 0, -8, 0), 8, [&](int x, int y) {
        const int value = image.pixelColor(x, y).value();
        return value > 20 && std::abs(value - image.pixelColor(x + 8, y).value()) > 3;
    });
}

void saveForLooking(const QImage& image, const QString& name) {
    if (const QString out = qEnvironmentVariable("OSTREL_TEST_OUTPUT"); !out.isEmpty())
        image.save(out + QStringLiteral("/blackbox-") + name + QStringLiteral(".png"));
}

AppRun::AppRun(AppRunOptions options) : m_options(std::move(options)) {
    QDir home(m_home.path());
    for (const char* folder : {"Documents", "Aufnahmen", ".config/ostrel", "runtime"})
        home.mkpath(QString::fromLatin1(folder));
    QFile::setPermissions(home.filePath(QStringLiteral("runtime")),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);

    // The app reads the same file through QSettings' native format on Linux.
    SettingsStore settings(home.filePath(QStringLiteral(".config/ostrel/ostrel.conf")));
    if (m_options.onboarded) {
        settings.setValue(Setting::didCompleteOnboarding, true);
        settings.setValue(Setting::wideDeviceUID, VirtualDevices::camera1ID);
        settings.setValue(Setting::macroDeviceUID, VirtualDevices::camera2ID);
        settings.setValue(Setting::micDeviceUID,
                          m_options.microphone ? VirtualDevices::microphoneID : QString());
        settings.setValue(Setting::recordingFolderPath, recordingFolder().toUtf8());
    }
    for (auto it = m_options.settings.cbegin(); it != m_options.settings.cend(); ++it)
        if (const auto setting = settingFromKey(it.key()))
            settings.setValue(*setting, it.value());
}

AppRun::~AppRun() {
    if (isRunning()) {
        m_app->kill();
        m_app->waitForFinished(5000);
    }
    stopDisplay();
}

QString AppRun::logPath() const {
    const QDir home(m_home.path());
    if (QFileInfo(home.filePath(QStringLiteral("Documents"))).isDir())
        return home.filePath(QStringLiteral("Documents/ostrel-diagnose.log"));
    return home.filePath(QStringLiteral(".local/share/ostrel/ostrel/ostrel-diagnose.log"));
}

namespace {

// Display numbers for black-box tests: each run holds an flock on its number's file for as long
// as its server lives, so two tests started together never pick the same display.
constexpr int firstDisplay = 120;
constexpr int displayCount = 800;

} // namespace

std::optional<QString> AppRun::startDisplay() {
    if (m_display_server)
        return std::nullopt;
    const int offset = int(::getpid() % displayCount);
    for (int step = 0; step < displayCount; ++step) {
        const int number = firstDisplay + (offset + step * 7) % displayCount;
        const QByteArray lockPath =
            QStringLiteral("/tmp/ostrel-test-display-%1.lock").arg(number).toLocal8Bit();
        const int fd = ::open(lockPath.constData(), O_CREAT | O_RDWR | O_CLOEXEC, 0666);
        if (fd < 0)
            continue;
        if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
            ::close(fd);
            continue;
        }
        m_displayLock.release();
        m_displayLock.fd = fd;
        // Another program's server on that number (its own lock file) makes Xvfb exit at once.
        if (QFile::exists(QStringLiteral("/tmp/.X%1-lock").arg(number)))
            continue;
        if (const auto error = startServer(number); !error)
            return std::nullopt;
    }
    m_displayLock.release();
    return QStringLiteral("no free display for Xvfb");
}

std::optional<QString> AppRun::startServer(int number) {
    m_display_server = std::make_unique<QProcess>();
    // -displayfd writes the number once the server accepts clients. -noreset: by default the
    // server resets whenever its last client leaves, and a client connecting meanwhile (the app
    // right after a check with xdotool) is refused.
    m_display_server->start(
        QStringLiteral("Xvfb"),
        {QStringLiteral(":%1").arg(number), QStringLiteral("-displayfd"), QStringLiteral("1"),
         QStringLiteral("-screen"), QStringLiteral("0"),
         QStringLiteral("%1x%2x24").arg(m_options.screenWidth).arg(m_options.screenHeight),
         QStringLiteral("-nolisten"), QStringLiteral("tcp"), QStringLiteral("-noreset")});
    std::optional<QString> error;
    if (!m_display_server->waitForStarted(10000))
        error = QStringLiteral("Xvfb did not start");
    QByteArray written;
    QDeadlineTimer guard(20000);
    while (!error && !written.contains('\n')) {
        if (guard.hasExpired())
            error = QStringLiteral("Xvfb :%1 did not report ready within 20 s").arg(number);
        else if (m_display_server->state() == QProcess::NotRunning)
            error = QStringLiteral("Xvfb :%1 ended: %2")
                        .arg(number)
                        .arg(QString::fromLocal8Bit(m_display_server->readAllStandardError()));
        else if (m_display_server->waitForReadyRead(200))
            written += m_display_server->readAllStandardOutput();
    }
    if (error) {
        stopDisplay();
        return error;
    }
    m_display = QStringLiteral(":%1").arg(number);
    return std::nullopt;
}

void AppRun::stopDisplay() {
    if (m_display_server) {
        m_display_server->terminate();
        if (!m_display_server->waitForFinished(5000)) {
            m_display_server->kill();
            m_display_server->waitForFinished(5000);
        }
        m_display_server.reset();
    }
    m_display.clear();
}

std::optional<QString> AppRun::startUsableDisplay() {
    if (auto error = startDisplay())
        return error;
    // Ready means a client gets through.
    if (run(QStringLiteral("xdotool"), {QStringLiteral("getdisplaygeometry")}))
        return std::nullopt;
    const QString error = QStringLiteral("display %1 cannot be reached").arg(m_display);
    stopDisplay();
    m_displayLock.release();
    return error;
}

QProcessEnvironment AppRun::appEnvironment() const {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME",
                             "XDG_DOCUMENTS_DIR", "XDG_VIDEOS_DIR", "WAYLAND_DISPLAY",
                             "DBUS_SESSION_BUS_ADDRESS", "OSTREL_VIRTUAL_FAULTS", "LANGUAGE"})
        env.remove(QString::fromLatin1(name));
    const QString home = m_home.path();
    env.insert(QStringLiteral("HOME"), home);
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/.config"));
    env.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/.local/share"));
    env.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/.cache"));
    env.insert(QStringLiteral("XDG_RUNTIME_DIR"), home + QStringLiteral("/runtime"));
    env.insert(QStringLiteral("OSTREL_VIRTUAL_DEVICES"), QStringLiteral("1"));
    env.insert(QStringLiteral("OSTREL_UI_TEXT_DUMP"), home + QStringLiteral("/shown-texts.txt"));
    // German, as the users see it.
    env.insert(QStringLiteral("LANG"), QStringLiteral("de_DE.UTF-8"));
    env.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
    env.insert(QStringLiteral("LANGUAGE"), QStringLiteral("de"));
    if (!m_options.faults.isEmpty())
        env.insert(QStringLiteral("OSTREL_VIRTUAL_FAULTS"), m_options.faults);
    if (!m_display.isEmpty()) {
        env.insert(QStringLiteral("DISPLAY"), m_display);
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    } else {
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    }
    env.insert(m_options.environment);
    return env;
}

bool AppRun::run(const QString& program, const QStringList& arguments, int timeoutMs,
                 QString* output) const {
    QProcess process;
    process.setProcessEnvironment(appEnvironment());
    process.start(program, arguments);
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished(1000);
        return false;
    }
    if (output)
        *output = QString::fromUtf8(process.readAllStandardOutput());
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

QList<AppRun::ShownText> AppRun::shownTexts(int timeoutMs) {
    const QString path = m_home.filePath(QStringLiteral("shown-texts.txt"));
    QFile::remove(path);
    signal(SIGUSR1);
    QList<ShownText> texts;
    if (!pollUntil([&] { return QFile::exists(path); }, timeoutMs)) {
        std::fprintf(stderr, "no list of shown texts came\n");
        return texts;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return texts;
    for (const QString& line : QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts)) {
        const QStringList fields = line.split(u'\t');
        const QStringList area = fields.value(2).split(u',');
        if (fields.size() < 4 || area.size() != 4)
            continue;
        texts.append({fields[0], fields[1],
                      QRect(area[0].toInt(), area[1].toInt(), area[2].toInt(), area[3].toInt()),
                      fields.mid(3).join(u'\t')});
    }
    return texts;
}

std::optional<AppRun::ShownText>
AppRun::waitForShown(const std::function<bool(const ShownText&)>& match, int timeoutMs) {
    std::optional<ShownText> found;
    pollUntil(
        [&] {
            const QList<ShownText> shown = shownTexts();
            const auto item = std::find_if(shown.begin(), shown.end(), [&](const ShownText& i) {
                return match(i) && !i.area.isEmpty();
            });
            if (item != shown.end())
                found = *item;
            return found.has_value();
        },
        timeoutMs);
    return found;
}

std::optional<AppRun::ShownText> AppRun::waitForShown(const QString& textOrName, int timeoutMs,
                                                      const QString& windowTitle) {
    const QRegularExpression title(windowTitle);
    const auto found = waitForShown(
        [&](const ShownText& item) {
            return (item.text == textOrName || item.objectName == textOrName) &&
                   title.match(item.window).hasMatch();
        },
        timeoutMs);
    if (!found && timeoutMs > 0)
        qWarning("waited %d ms for \"%s\" in \"%s\"; it did not show", timeoutMs,
                 qPrintable(textOrName), qPrintable(windowTitle));
    return found;
}

bool AppRun::clickShown(const QString& textOrName, const QString& windowTitle) {
    const auto item = waitForShown(textOrName, 15000, windowTitle);
    return item && click(item->area.center());
}

std::optional<QString> AppRun::startLive() {
    // A restarted app writes on in the same log: only this run's lines count.
    const int from = int(logLines().size());
    if (std::optional<QString> error = start())
        return error;
    return waitForLive(from);
}

std::optional<QString> AppRun::waitForLive(int from) {
    if (!waitForLog(QStringLiteral("2 Kameras live"), 60000, from))
        return QStringLiteral("the cameras did not go live within 60 s:\n") + describe();
    // Live in the log is not yet live on screen: a camera whose first picture is late gets
    // restarted by the watchdog, and commands typed meanwhile are ignored. Both pictures on
    // screen are the state every test starts from.
    QRect window;
    pumpUntil(
        [&] {
            window = windowGeometry();
            return !window.isEmpty() || !isRunning();
        },
        15000);
    if (window.isEmpty())
        return QStringLiteral("the main window was not on screen within 15 s:\n") + describe();
    const QRect wide(window.left(), window.top() + 100, window.width(), window.height() / 3);
    const QRect inset(window.center().x() - window.width() / 8,
                      window.bottom() - window.height() / 5, window.width() / 4,
                      window.height() / 8);
    const auto live = [&](const QImage& shot) {
        return texturedShare(shot, wide) > 0.3 && texturedShare(shot, inset) > 0.3;
    };
    if (!live(waitForScreen(live, 60000)))
        return QStringLiteral("the window did not show both pictures within 60 s:\n") + describe();
    return std::nullopt;
}

QString AppRun::describe() const {
    const QStringList lines = logLines();
    return QStringLiteral("--- log (last 40 lines)\n") +
           lines.mid(std::max(0, int(lines.size()) - 40)).join(u'\n') +
           QStringLiteral("\n--- app output\n") + appOutput().right(4000);
}

std::optional<QString> AppRun::start(int timeoutMs) {
    if (isRunning())
        return QStringLiteral("the app is already running");
    if (auto error = startUsableDisplay())
        return error;
    m_app = std::make_unique<QProcess>();
    m_app->setProcessChannelMode(QProcess::MergedChannels);
    m_app->setProcessEnvironment(appEnvironment());
    if (const qint64 limit = m_options.fileSizeLimit; limit > 0) {
        m_app->setChildProcessModifier([limit] {
            const rlimit size{rlim_t(limit), rlim_t(limit)};
            ::setrlimit(RLIMIT_FSIZE, &size);
            ::signal(SIGXFSZ, SIG_IGN); // ignored dispositions survive exec
        });
    }
    QString program = ostrelBinary();
    QStringList arguments;
    if (const qint64 size = m_options.tmpfsRecordingFolder; size > 0) {
        if (!run(QStringLiteral("unshare"), {QStringLiteral("-rm"), QStringLiteral("true")}))
            return QStringLiteral("a private mount namespace (unshare -rm) is not available "
                                  "here, and the small drive for the recording folder needs one");
        // unshare and sh both exec: the app keeps the started process's id.
        const QString script =
            QStringLiteral("mount -t tmpfs -o size=%1 none \"$0\" && exec \"$@\"").arg(size);
        arguments.prepend(program);
        arguments = QStringList{QStringLiteral("-rm"), QStringLiteral("sh"), QStringLiteral("-c"),
                                script, recordingFolder()} +
                    arguments;
        program = QStringLiteral("unshare");
    }
    m_app->start(program, arguments);
    if (!m_app->waitForStarted(10000))
        return QStringLiteral("ostrel did not start: ") + m_app->errorString();
    const bool shown = pumpUntil(
        [&] {
            if (!isRunning())
                return true;
            // The main window, by its title and with its size: it maps before QML has set
            // the title, and at first without a size.
            return !windowGeometry(mainWindowTitle()).isEmpty();
        },
        timeoutMs);
    if (!isRunning())
        return QStringLiteral("ostrel ended at start: ") + appOutput();
    if (!shown)
        return QStringLiteral("no ostrel window on screen");
    return std::nullopt;
}

// What a started app printed and how it ended; a run over `timeoutMs` is killed.
AppRun::Output AppRun::collectOutput(QProcess& process, int timeoutMs) {
    Output out;
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished(1000);
        return out;
    }
    out.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    out.standardOutput = QString::fromUtf8(process.readAllStandardOutput());
    out.standardError = QString::fromUtf8(process.readAllStandardError());
    return out;
}

AppRun::Output AppRun::runToExit(const QStringList& arguments, int timeoutMs) {
    QProcess process;
    QProcessEnvironment env = appEnvironment();
    env.remove(QStringLiteral("DISPLAY"));
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    env.insert(m_options.environment); // e.g. xcb with no display: a window would fail at once
    process.setProcessEnvironment(env);
    process.start(ostrelBinary(), arguments);
    return collectOutput(process, timeoutMs);
}

AppRun::Output AppRun::startAgain(int timeoutMs) {
    QProcess process;
    process.setProcessEnvironment(appEnvironment());
    process.start(ostrelBinary(), QStringList());
    return collectOutput(process, timeoutMs);
}

QStringList AppRun::logLines() const {
    QFile file(logPath());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

std::optional<QString> AppRun::waitForLog(const QString& text, int timeoutMs, int fromLine) const {
    std::optional<QString> found;
    pollUntil(
        [&] {
            const QStringList lines = logLines();
            if (const int at = lineOf(lines, text, fromLine); at >= 0)
                found = lines[at];
            return found.has_value();
        },
        timeoutMs);
    if (!found)
        qWarning("waited %d ms for a log line with \"%s\" from line %d; none came", timeoutMs,
                 qPrintable(text), fromLine);
    return found;
}

QStringList AppRun::windowIds(const QString& windowTitle) const {
    QString windows;
    if (!isRunning() ||
        !run(QStringLiteral("xdotool"),
             // --all: without it, xdotool takes any window of the process, whatever its title.
             {QStringLiteral("search"), QStringLiteral("--all"), QStringLiteral("--onlyvisible"),
              QStringLiteral("--pid"), QString::number(pid()), QStringLiteral("--name"),
              windowTitle},
             5000, &windows))
        return {};
    return windows.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QRect AppRun::windowGeometry(const QString& windowTitle) const {
    const QStringList ids = windowIds(windowTitle);
    QString shell;
    if (ids.isEmpty() ||
        !run(QStringLiteral("xdotool"),
             {QStringLiteral("getwindowgeometry"), QStringLiteral("--shell"), ids.last()}, 5000,
             &shell))
        return {};
    static const QRegularExpression geometry(
        QStringLiteral("X=(-?\\d+)\nY=(-?\\d+)\nWIDTH=(\\d+)\nHEIGHT=(\\d+)"));
    const QRegularExpressionMatch at = geometry.match(shell);
    return at.hasMatch() ? QRect(at.captured(1).toInt(), at.captured(2).toInt(),
                                 at.captured(3).toInt(), at.captured(4).toInt())
                         : QRect();
}

bool AppRun::minimise(const QString& windowTitle) {
    const QStringList ids = windowIds(windowTitle);
    if (ids.isEmpty())
        return false;
    const auto window = xcb_window_t(ids.last().toULong());
    xcb_connection_t* connection = xcb_connect(m_display.toLocal8Bit().constData(), nullptr);
    bool done = !xcb_connection_has_error(connection);
    const QByteArray name("WM_STATE");
    xcb_intern_atom_reply_t* atom =
        done ? xcb_intern_atom_reply(
                   connection,
                   xcb_intern_atom(connection, 0, uint16_t(name.size()), name.constData()), nullptr)
             : nullptr;
    if (atom) {
        // Each request is checked, which also waits until the server has carried it out: a
        // connection closed right after sending may lose them.
        const uint32_t iconic[2] = {3, 0}; // IconicState, no icon window
        for (const xcb_void_cookie_t cookie :
             {xcb_unmap_window_checked(connection, window),
              xcb_change_property_checked(connection, XCB_PROP_MODE_REPLACE, window, atom->atom,
                                          atom->atom, 32, 2, iconic)}) {
            if (xcb_generic_error_t* error = xcb_request_check(connection, cookie)) {
                done = false;
                std::free(error);
            }
        }
        std::free(atom);
    } else {
        done = false;
    }
    xcb_disconnect(connection);
    return done && pumpUntil([&] { return windowIds(windowTitle).isEmpty(); }, 15000);
}

bool AppRun::waitForFront(const QString& windowTitle, int timeoutMs) const {
    return pumpUntil(
        [&] {
            const QStringList ids = windowIds(windowTitle);
            return !ids.isEmpty() && focusedWindow() == ids.last();
        },
        timeoutMs);
}

QString AppRun::focusedWindow() const {
    QString focused;
    run(QStringLiteral("xdotool"), {QStringLiteral("getwindowfocus")}, 5000, &focused);
    return focused.trimmed();
}

std::optional<QString> AppRun::focusWindow(const QString& id) {
    // No window manager runs, so the input focus is set directly. The app may move it once
    // more while a window maps; it is set again until the server names this window.
    QDeadlineTimer guard(15000);
    while (!guard.hasExpired()) {
        run(QStringLiteral("xdotool"), {QStringLiteral("windowfocus"), id});
        QDeadlineTimer settle(1000);
        while (!settle.hasExpired()) {
            if (focusedWindow() == id)
                return std::nullopt;
            QThread::msleep(20);
        }
    }
    return QStringLiteral("window %1 did not get the keyboard focus within 15 s (it is on %2)")
        .arg(id, focusedWindow());
}

bool AppRun::pressKeysUntil(const QString& keys, const std::function<bool()>& done,
                            const QString& windowTitle) {
    for (int attempt = 0; attempt < 3; ++attempt)
        if (pressKeys(keys, windowTitle) && pumpUntil(done, 5000))
            return true;
    std::fprintf(stderr, "%s did not take effect in 3 tries\n", qPrintable(keys));
    return false;
}

bool AppRun::typeText(const QString& text, const QString& windowTitle) {
    const QStringList ids = windowIds(windowTitle);
    if (ids.isEmpty() || focusWindow(ids.last()) ||
        !run(QStringLiteral("xdotool"),
             {QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("30"), text})) {
        qWarning("typing \"%s\" into \"%s\" did not happen", qPrintable(text),
                 qPrintable(windowTitle));
        return false;
    }
    return true;
}

bool AppRun::pressKeys(const QString& keys, const QString& windowTitle, int holdMs) {
    const auto fail = [&](const QString& why) {
        qWarning("pressKeys(%s) into \"%s\": %s", qPrintable(keys), qPrintable(windowTitle),
                 qPrintable(why));
        return false;
    };
    QStringList ids;
    pumpUntil(
        [&] {
            ids = windowIds(windowTitle);
            return !ids.isEmpty() || !isRunning();
        },
        15000);
    if (ids.isEmpty())
        return fail(QStringLiteral("no such window on screen within 15 s"));
    const QString id = ids.last();
    if (const auto error = focusWindow(id))
        return fail(*error);
    if (holdMs <= 0) {
        if (!run(QStringLiteral("xdotool"),
                 {QStringLiteral("key"), QStringLiteral("--clearmodifiers"), keys}))
            return fail(QStringLiteral("xdotool could not type"));
    } else {
        // Through the server's own key path, which repeats a held key as a keyboard does.
        if (!run(QStringLiteral("xdotool"), {QStringLiteral("keydown"), keys}))
            return fail(QStringLiteral("xdotool could not press"));
        QThread::msleep(unsigned(holdMs));
        if (!run(QStringLiteral("xdotool"), {QStringLiteral("keyup"), keys}))
            return fail(QStringLiteral("xdotool could not release"));
    }
    // The keys went to the window only if it still had the focus afterwards.
    if (const QString focused = focusedWindow();
        focused != id && windowIds(windowTitle).contains(id))
        return fail(QStringLiteral("the focus moved to %1 while typing").arg(focused));
    return true;
}

bool AppRun::click(QPoint at, const QString& windowTitle, int button) {
    if (!windowTitle.isEmpty()) {
        const QStringList ids = windowIds(windowTitle);
        if (ids.isEmpty() || focusWindow(ids.last())) {
            qWarning("click into \"%s\": the window is not on screen", qPrintable(windowTitle));
            return false;
        }
    }
    if (!run(QStringLiteral("xdotool"),
             // No --sync: it waits for a motion that never comes when the pointer is already
             // there. The server handles the move before the click anyway.
             {QStringLiteral("mousemove"), QString::number(at.x()), QString::number(at.y()),
              QStringLiteral("click"), QString::number(button)})) {
        qWarning("click at %d,%d: xdotool could not click", at.x(), at.y());
        return false;
    }
    return true;
}

std::optional<QString> AppRun::startRecording(const QString& keys) {
    const int from = int(logLines().size());
    if (!pressKeys(keys))
        return std::nullopt;
    return waitForLog(QStringLiteral("Aufnahme läuft"), 30000, from);
}

QString AppRun::stopRecording() {
    const int from = int(logLines().size());
    const auto saved = pressKeys(QStringLiteral("ctrl+r"))
                           ? waitForLog(QStringLiteral("Aufnahme gespeichert: "), 60000, from)
                           : std::nullopt;
    return saved ? recordingFolder() + u'/' + saved->section(u' ', -1) : QString();
}

QStringList AppRun::recordingFiles(const QString& pattern) const {
    return QDir(recordingFolder()).entryList({pattern}, QDir::Files, QDir::Name);
}

bool AppRun::waitForFiles(const QString& pattern, int count, int timeoutMs) const {
    return pollUntil([&] { return recordingFiles(pattern).size() >= count; }, timeoutMs);
}

QImage AppRun::screenshot() const {
    if (m_display.isEmpty())
        return {};
    const QString path = QDir(m_home.path()).filePath(QStringLiteral("screen.png"));
    QFile::remove(path);
    if (!run(QStringLiteral("ffmpeg"),
             {QStringLiteral("-loglevel"), QStringLiteral("error"), QStringLiteral("-f"),
              QStringLiteral("x11grab"), QStringLiteral("-video_size"),
              QStringLiteral("%1x%2").arg(m_options.screenWidth).arg(m_options.screenHeight),
              QStringLiteral("-i"), m_display, QStringLiteral("-frames:v"), QStringLiteral("1"),
              QStringLiteral("-y"), path},
             20000))
        return {};
    return QImage(path);
}

QImage AppRun::waitForScreen(const std::function<bool(const QImage&)>& shows, int timeoutMs) const {
    QImage last;
    pumpUntil(
        [&] {
            last = screenshot();
            return !last.isNull() && shows(last);
        },
        timeoutMs);
    return last;
}

bool AppRun::waitForAlert(bool shown) const {
    const QRect window = windowGeometry();
    const QRect middle(window.center().x() - 150, window.center().y() - 20, 300, 40);
    const auto up = [&](const QImage& shot) { return paleShare(shot, middle) > 0.6; };
    const QImage screen =
        waitForScreen([&](const QImage& shot) { return up(shot) == shown; }, 15000);
    if (up(screen))
        saveForLooking(screen, QStringLiteral("alert"));
    return up(screen);
}

void AppRun::signal(int signalNumber) {
    if (isRunning())
        ::kill(pid_t(pid()), signalNumber);
}

std::optional<int> AppRun::waitForExit(int timeoutMs) {
    if (!m_app || !pumpUntil([&] { return !isRunning(); }, timeoutMs) ||
        m_app->exitStatus() != QProcess::NormalExit)
        return std::nullopt;
    return m_app->exitCode();
}

QString AppRun::appOutput() const {
    if (m_app)
        m_appOutput += QString::fromUtf8(m_app->readAll());
    return m_appOutput;
}
