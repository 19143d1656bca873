#pragma once

#include <QObject>

#include <functional>

// Decides how the application quits. A quit request while a recording runs is answered later:
// the recording is finished and saved first, then capture stops and the application ends.
// Main thread only.
class OstrelAppDelegate : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool quitting READ quitting NOTIFY quittingChanged)
public:
    enum class Reply { cancel, now, later };

    // `terminate` ends the application (QCoreApplication::quit when empty).
    explicit OstrelAppDelegate(std::function<void()> terminate = {}, QObject* parent = nullptr);

    bool quitting() const { return m_quitting; }

    Reply applicationShouldTerminate();
    // The window's close button, Ctrl+Q and SIGTERM: ends now, later or not at all.
    Q_INVOKABLE void requestQuit();

signals:
    void quittingChanged();

private:
    std::function<void()> m_terminate;
    bool m_quitting = false;
};
