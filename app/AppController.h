#pragma once

#include <QObject>

#include <functional>

// Decides how the application quits and how the main view hands the cameras to the setup. A
// quit request while a recording runs is answered later: the recording is finished and saved
// first, then capture stops and the application ends. Leaving the main view for the setup
// likewise saves a running recording before capture stops. Main thread only.
class AppController : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool quitting READ quitting NOTIFY quittingChanged)
    // Whether the main window shows the main view (true) or the setup (false).
    Q_PROPERTY(
        bool mainViewShown READ mainViewShown WRITE setMainViewShown NOTIFY mainViewShownChanged)
public:
    enum class Reply { cancel, now, later };

    // `terminate` ends the application (QCoreApplication::exit when empty).
    explicit AppController(std::function<void()> terminate = {}, QObject* parent = nullptr);

    bool quitting() const { return m_quitting; }
    bool mainViewShown() const { return m_mainViewShown; }
    // Going from the main view to the setup stops capture, after saving a running recording.
    void setMainViewShown(bool shown);

    Reply applicationShouldTerminate();
    // The window's close button, Ctrl+Q and SIGTERM: ends now, later or not at all.
    Q_INVOKABLE void requestQuit();

signals:
    void quittingChanged();
    void mainViewShownChanged();

private:
    void leaveMainView();

    std::function<void()> m_terminate;
    bool m_quitting = false;
    bool m_mainViewShown = false;
};
