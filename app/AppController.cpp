#include "app/AppController.h"

#include "control/CameraManager.h"
#include "diagnostics/OstrelLog.h"

#include <QCoreApplication>
#include <QPointer>

AppController::AppController(std::function<void()> terminate, QObject* parent)
    : QObject(parent), m_terminate(std::move(terminate)) {
    if (!m_terminate)
        // Not quit(): that asks every window to close first, and the main window answers a
        // close with a quit request, which is refused while the recording is being saved.
        m_terminate = [] { QCoreApplication::exit(0); };
}

AppController::Reply AppController::applicationShouldTerminate() {
    if (m_quitting)
        return Reply::cancel; // the first request ends the application
    CameraManager* manager = CameraManager::current();
    if (manager && manager->isRecording()) {
        m_quitting = true;
        emit quittingChanged();
        logOnMainThread(LogLevel::event,
                        QStringLiteral("Beenden: Aufnahme wird abgeschlossen und gespeichert…"));
        QPointer<CameraManager> weak(manager);
        manager->onRecordingFinished = [weak, terminate = m_terminate] {
            if (weak)
                weak->stopCapture();
            terminate();
        };
        manager->stopRecording();
        return Reply::later;
    }
    if (manager)
        manager->stopCapture();
    return Reply::now;
}

void AppController::requestQuit() {
    if (applicationShouldTerminate() == Reply::now)
        m_terminate();
}

void AppController::setMainViewShown(bool shown) {
    if (shown == m_mainViewShown)
        return;
    m_mainViewShown = shown;
    emit mainViewShownChanged();
    if (!shown)
        leaveMainView();
}

void AppController::leaveMainView() {
    CameraManager* manager = CameraManager::current();
    if (!manager || m_quitting)
        return; // a quit in progress stops capture itself
    if (!manager->isRecording()) {
        manager->stopCapture();
        return;
    }
    // Stopping capture under a running recording would leave the file open and append the
    // next session's frames to it.
    logOnMainThread(LogLevel::event,
                    QStringLiteral("Einrichtung: Aufnahme wird abgeschlossen und gespeichert…"));
    QPointer<CameraManager> weak(manager);
    QPointer<AppController> self(this);
    manager->onRecordingFinished = [weak, self] {
        // The setup may already be finished and the main view capturing again.
        if (weak && self && !self->m_mainViewShown)
            weak->stopCapture();
    };
    manager->stopRecording();
}
