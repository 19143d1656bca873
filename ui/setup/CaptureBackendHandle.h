#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

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

private:
    CaptureBackend& m_backend;
};
