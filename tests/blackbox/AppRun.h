#pragma once

// Runs the built ostrel binary as a user would: its own temporary HOME with a real settings
// file, the virtual camera pair, a private X server (Xvfb) and keys typed with xdotool. Each
// run gets its own display, locked for as long as it runs, so black-box tests may run in
// parallel. Every wait is for a state (a log line, the focus, pixels), bounded, and says on
// stderr what it waited for when it times out.

#include <QImage>
#include <QList>
#include <QPoint>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRect>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariantMap>

#include <functional>
#include <memory>
#include <optional>

#include <unistd.h>

// The main window's title as a pattern: "OSTREL", with "● REC – " before it while recording
// (ASCII only: xdotool's patterns do not take UTF-8).
inline QString mainWindowTitle() {
    return QStringLiteral("^(.* REC .* )?OSTREL$");
}

struct AppRunOptions {
    bool onboarded = true;           // setup done, the virtual pair and microphone assigned
    bool microphone = true;          // assign the virtual microphone (else "Kein Ton")
    QString faults;                  // OSTREL_VIRTUAL_FAULTS
    QVariantMap settings;            // further persisted settings by key
    QProcessEnvironment environment; // added to the app's environment
    // The app's file-size limit in bytes (RLIMIT_FSIZE), as a drive that fills up; 0: none.
    // Writes beyond it fail with EFBIG instead of raising SIGXFSZ.
    qint64 fileSizeLimit = 0;
    // A drive of its own of this many bytes (tmpfs) for the recording folder, mounted in a
    // private mount namespace that only the app sees; 0: none. The app's files are reached from
    // outside through /proc/<pid>/root.
    qint64 tmpfsRecordingFolder = 0;
    int screenWidth = 1920;
    int screenHeight = 1080;
};

class AppRun {
public:
    explicit AppRun(AppRunOptions options = {});
    ~AppRun();
    AppRun(const AppRun&) = delete;
    AppRun& operator=(const AppRun&) = delete;

    QString home() const { return m_home.path(); }
    QString recordingFolder() const { return m_home.filePath(QStringLiteral("Aufnahmen")); }
    // The diagnostic log file: in HOME/Documents, or in the app's data folder when Documents
    // is not a folder.
    QString logPath() const;

    // Starts the app (again, after an exit or kill: same HOME) and waits until its window is
    // on screen. Returns an error text.
    std::optional<QString> start(int timeoutMs = 30000);
    // Starts the app and waits until the log says both cameras are live and the window shows
    // both pictures; on failure the error text carries the log and what the app printed.
    std::optional<QString> startLive();
    // Waits until the log (from line `fromLine`) says both cameras are live and the window
    // shows both pictures; as startLive, for a main view that comes up later.
    std::optional<QString> waitForLive(int fromLine);
    // Starts the app without a display and waits for it to exit (for --help, --version).
    struct Output {
        int exitCode = -1;
        QString standardOutput;
        QString standardError;
    };
    Output runToExit(const QStringList& arguments, int timeoutMs = 30000);
    // Starts the app once more beside the running one, as from the launcher (same display,
    // HOME, runtime folder and session bus), and waits for it to end.
    Output startAgain(int timeoutMs = 30000);

    // Lines of the diagnostic log file as written so far.
    QStringList logLines() const;
    // Waits until a log line contains `text` (counting from line `fromLine`); returns the line.
    std::optional<QString> waitForLog(const QString& text, int timeoutMs = 30000,
                                      int fromLine = 0) const;
    // Waits until the app's window whose title matches `windowTitle` (a regular expression) is
    // on screen and holds the keyboard focus, then types the key combination, e.g. "ctrl+r",
    // "ctrl+shift+o"; with `holdMs`, holds them down that long, so the server repeats them as
    // it does a held key. False, with the reason on stderr, when any of it did not happen.
    bool pressKeys(const QString& keys, const QString& windowTitle = mainWindowTitle(),
                   int holdMs = 0);
    // Types `text` into the focused item of the window, character by character.
    bool typeText(const QString& text, const QString& windowTitle = mainWindowTitle());
    // Types the keys until `done` holds (up to 3 times, each given 5 s): a key typed while the
    // focus still settles after a window closed or a recording ended can be lost.
    bool pressKeysUntil(const QString& keys, const std::function<bool()>& done,
                        const QString& windowTitle = mainWindowTitle());
    // Clicks a mouse button (1 the left, 5 the wheel a notch down) at a point of the screen;
    // with `windowTitle`, the window matching it focused first. False, with the reason on
    // stderr, when it did not happen.
    bool click(QPoint at, const QString& windowTitle = {}, int button = 1);
    // What the app's windows show, by item (see OSTREL_UI_TEXT_DUMP in app/UiTextDump.h),
    // asked for with SIGUSR1; empty when no answer came.
    struct ShownText {
        QString window;
        QString objectName;
        QRect area; // on the screen
        QString text;
    };
    QList<ShownText> shownTexts(int timeoutMs = 10000);
    // Waits until the app shows an item that `match` holds for, or whose text or object name is
    // `textOrName` (in a window whose title matches `windowTitle`, a regular expression); with
    // no time, looks once.
    std::optional<ShownText> waitForShown(const std::function<bool(const ShownText&)>& match,
                                          int timeoutMs = 20000);
    std::optional<ShownText> waitForShown(const QString& textOrName, int timeoutMs = 20000,
                                          const QString& windowTitle = {});
    // Clicks the middle of that item once it shows (15 s).
    bool clickShown(const QString& textOrName, const QString& windowTitle = {});
    // Starts a recording with `keys`; returns the log line that says it runs.
    std::optional<QString> startRecording(const QString& keys = QStringLiteral("ctrl+r"));
    // Stops it with Ctrl+R; returns the saved file's path, empty when none was saved.
    QString stopRecording();
    // Files in the recording folder matching `pattern`, sorted.
    QStringList recordingFiles(const QString& pattern = QStringLiteral("OSTREL-*")) const;
    // Waits until at least `count` files match `pattern` in the recording folder.
    bool waitForFiles(const QString& pattern, int count, int timeoutMs = 60000) const;
    // The whole screen as the user sees it.
    QImage screenshot() const;
    // Takes screenshots until `shows` holds for one; returns the last one taken.
    QImage waitForScreen(const std::function<bool(const QImage&)>& shows,
                         int timeoutMs = 30000) const;
    // Waits until a modal alert covers the middle of the main window (with `shown` false: until
    // none does); returns whether one is up. The screen is saved as blackbox-alert.png in
    // OSTREL_TEST_OUTPUT when it is.
    bool waitForAlert(bool shown = true) const;
    // Minimises the window as a window manager does (it unmaps it and marks it iconic in
    // WM_STATE, which is how the app learns it is minimised); false when it was not on screen.
    bool minimise(const QString& windowTitle = mainWindowTitle());
    // Waits until the window is on screen and holds the keyboard focus (with no window manager
    // running, that is the active window).
    bool waitForFront(const QString& windowTitle = mainWindowTitle(), int timeoutMs = 15000) const;
    // Where the app's window matching `windowTitle` sits on the screen (empty if none).
    QRect windowGeometry(const QString& windowTitle = mainWindowTitle()) const;

    qint64 pid() const { return m_app ? m_app->processId() : 0; }
    bool isRunning() const { return m_app && m_app->state() != QProcess::NotRunning; }
    void signal(int signalNumber);
    // Waits for the app to end; returns its exit code, or nullopt on time-out or a crash.
    std::optional<int> waitForExit(int timeoutMs = 60000);
    QString appOutput() const; // stderr and stdout of the app so far
    // The end of the log and the app's output, for a failure message.
    QString describe() const;

private:
    static Output collectOutput(QProcess& process, int timeoutMs);
    std::optional<QString> startDisplay();
    std::optional<QString> startServer(int number);
    std::optional<QString> startUsableDisplay();
    void stopDisplay();
    std::optional<QString> focusWindow(const QString& id);
    QString focusedWindow() const; // its id
    QStringList windowIds(const QString& windowTitle) const;
    QProcessEnvironment appEnvironment() const;
    bool run(const QString& program, const QStringList& arguments, int timeoutMs = 10000,
             QString* output = nullptr) const;

    AppRunOptions m_options;
    QTemporaryDir m_home;
    struct DisplayLock {
        int fd = -1;
        void release() {
            if (fd >= 0)
                ::close(fd);
            fd = -1;
        }
        ~DisplayLock() { release(); }
    };
    DisplayLock m_displayLock; // held while the display server runs
    std::unique_ptr<QProcess> m_display_server;
    QString m_display;
    std::unique_ptr<QProcess> m_app;
    mutable QString m_appOutput;
};

// Lets `seconds` of a recording pass while the test keeps its event loop going.
void recordFor(double seconds);
// The first of `lines` from `from` on that contains `text`; -1 when none does.
int lineOf(const QStringList& lines, const QString& text, int from = 0);
// Share of sampled pixels in `area` that are neither black nor flat: a live camera picture.
double texturedShare(const QImage& image, QRect area);
// Saves `image` as blackbox-<name>.png in OSTREL_TEST_OUTPUT, when that is set, to look at.
void saveForLooking(const QImage& image, const QString& name);

// Ends the test when the app did not come up (start(), startLive()), saying why.
#define ASSERT_STARTED(started)                                                                    \
    do {                                                                                           \
        const std::optional<QString> startError = (started);                                       \
        ASSERT_FALSE(startError) << startError->toStdString();                                     \
    } while (false)
