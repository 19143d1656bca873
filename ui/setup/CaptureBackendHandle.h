#pragma once

#include "runtime/SerialQueue.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <memory>

class CaptureBackend;

// Hands the application's capture backend to QML items that open devices of their own (the
// device previews). The backend must outlive the handle.
class CaptureBackendHandle : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the application shell")

public:
    explicit CaptureBackendHandle(CaptureBackend& backend, QObject* parent = nullptr)
        : QObject(parent), m_backend(backend) {}

    CaptureBackend& backend() const { return m_backend; }

    // Drops an object that closes a device off the GUI thread, since closing may wait for the
    // camera. Whatever is still being dropped is waited for when the handle goes.
    template <typename T> void releaseLater(std::shared_ptr<T> object) {
        m_releaseQueue.async([object = std::move(object)]() mutable { object.reset(); });
    }

private:
    CaptureBackend& m_backend;
    SerialQueue m_releaseQueue{"com.ostrel.preview.release"};
};
