#pragma once

#include "media/PixelBuffer.h"
#include "ui/controls/FrameTexture.h"
#include "ui/setup/CaptureBackendHandle.h"

#include <QPointer>
#include <QQuickItem>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

#include <memory>

class PreviewSession;

// A live preview of one capture device by its unique id, to tell two identical cameras apart.
// It has a session of its own, changed only on its own "com.ostrel.preview.config" queue, and
// is independent of the camera manager. The picture covers the item (cut at the edges), is
// mirrored when `mirrored`, and is neither turned nor recorded. Applying the id it already
// shows does nothing; another id swaps the session's input; an unknown id leaves it black.
// Leaving the window (or being destroyed) stops the session and releases the device.
class CameraPreviewView : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(CaptureBackendHandle* backend READ backend WRITE setBackend NOTIFY backendChanged)
    Q_PROPERTY(QString deviceUID READ deviceUID WRITE setDeviceUID NOTIFY deviceUIDChanged)
    Q_PROPERTY(bool mirrored READ mirrored WRITE setMirrored NOTIFY mirroredChanged)
    Q_PROPERTY(int framesShown READ framesShown NOTIFY framesShownChanged)

public:
    static constexpr int redrawIntervalMs = 33;

    explicit CameraPreviewView(QQuickItem* parent = nullptr);
    ~CameraPreviewView() override;

    CaptureBackendHandle* backend() const { return m_backend; }
    void setBackend(CaptureBackendHandle* backend);
    QString deviceUID() const { return m_deviceUID; }
    void setDeviceUID(const QString& id);
    bool mirrored() const { return m_mirrored; }
    void setMirrored(bool mirrored);
    int framesShown() const { return m_framesShown; }

    // The id the session was last configured for (empty before the first configuration).
    QString currentUID() const { return m_currentUID; }
    // Takes the newest delivered picture; the item's timer calls it, tests may too.
    Q_INVOKABLE void pullFrame();

    // Tests: waits for the session changes handed to the queue so far.
    void waitForSession();
    bool sessionRunning() const;
    int sessionInputCount() const;
    int configurationCount() const;

signals:
    void backendChanged();
    void deviceUIDChanged();
    void mirroredChanged();
    void framesShownChanged();

protected:
    void componentComplete() override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData*) override;

private:
    void applyDeviceUID();
    void release();

    QPointer<CaptureBackendHandle> m_backend;
    QString m_deviceUID;
    bool m_mirrored = true;
    QString m_currentUID;
    bool m_configured = false;
    int m_framesShown = 0;
    QTimer m_timer;
    std::shared_ptr<PreviewSession> m_session;
    PixelBuffer m_frame;             // what is shown
    bool m_frameDirty = false;       // a new frame waits for the next sync
    bool m_nodeShowsPicture = false; // the paint node is the picture, not the black fill
    FrameTexture m_texture;          // render thread
};
