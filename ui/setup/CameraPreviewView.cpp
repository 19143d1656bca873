#include "ui/setup/CameraPreviewView.h"

#include "control/PipelineSetup.h"
#include "ui/setup/PreviewSession.h"

#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGRectangleNode>

namespace {

// The part of the picture that covers a view of the given size, centred.
QRectF aspectFillSource(QSizeF picture, QSizeF view) {
    if (picture.isEmpty() || view.isEmpty())
        return {};
    const double scale = std::max(view.width() / picture.width(), view.height() / picture.height());
    const QSizeF shown(view.width() / scale, view.height() / scale);
    return {(picture.width() - shown.width()) / 2, (picture.height() - shown.height()) / 2,
            shown.width(), shown.height()};
}

} // namespace

CameraPreviewView::CameraPreviewView(QQuickItem* parent) : QQuickItem(parent) {
    setFlag(ItemHasContents, true);
    m_timer.setInterval(redrawIntervalMs);
    connect(&m_timer, &QTimer::timeout, this, &CameraPreviewView::pullFrame);
}

CameraPreviewView::~CameraPreviewView() {
    release();
}

void CameraPreviewView::setBackend(CaptureBackendHandle* backend) {
    if (backend == m_backend)
        return;
    m_backend = backend;
    emit backendChanged();
    if (isComponentComplete())
        applyDeviceUID();
}

void CameraPreviewView::setDeviceUID(const QString& id) {
    if (id != m_deviceUID) {
        m_deviceUID = id;
        emit deviceUIDChanged();
    }
    if (isComponentComplete())
        applyDeviceUID();
}

void CameraPreviewView::setMirrored(bool mirrored) {
    if (mirrored == m_mirrored)
        return;
    m_mirrored = mirrored;
    emit mirroredChanged();
    update(); // takes effect at the next layout, the session is not touched
}

void CameraPreviewView::componentComplete() {
    QQuickItem::componentComplete();
    applyDeviceUID();
}

void CameraPreviewView::applyDeviceUID() {
    if (!m_backend || !window())
        return;
    if (m_configured && m_deviceUID == m_currentUID)
        return;
    m_currentUID = m_deviceUID;
    m_configured = true;
    if (!m_session)
        m_session = std::make_shared<PreviewSession>(m_backend->backend());
    m_session->configure(videoDevice(m_backend->backend().discovery(), m_currentUID));
    m_timer.start();
}

void CameraPreviewView::release() {
    m_timer.stop();
    m_configured = false;
    m_currentUID.clear();
    if (!m_session)
        return;
    m_session->stop();
    // Its teardown waits for the camera to stop: never on the GUI thread.
    if (m_backend)
        m_backend->releaseLater(std::move(m_session));
    m_session.reset();
}

void CameraPreviewView::itemChange(ItemChange change, const ItemChangeData& data) {
    QQuickItem::itemChange(change, data);
    if (change != ItemSceneChange)
        return;
    if (!data.window) {
        release();
        m_frame = {};
    } else if (isComponentComplete()) {
        applyDeviceUID();
    }
}

void CameraPreviewView::pullFrame() {
    if (!m_session)
        return;
    int sequence = 0;
    PixelBuffer newest = m_session->newest(&sequence);
    if (newest.sharesPixelsWith(m_frame) || (!newest && !m_frame))
        return;
    m_frame = std::move(newest);
    m_frameDirty = true;
    if (m_frame) {
        ++m_framesShown;
        emit framesShownChanged();
    }
    update();
}

void CameraPreviewView::waitForSession() {
    if (m_session)
        m_session->drain();
}

bool CameraPreviewView::sessionRunning() const {
    return m_session && m_session->isRunning();
}

int CameraPreviewView::sessionInputCount() const {
    return m_session ? m_session->inputCount() : 0;
}

int CameraPreviewView::configurationCount() const {
    return m_session ? m_session->configurationCount() : 0;
}

QSGNode* CameraPreviewView::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    // One node: a black rectangle without a picture, else the picture covering the item. (Qt's
    // software renderer misplaces image nodes below a plain container node.)
    if (!m_frame) {
        if (old && m_nodeShowsPicture) {
            delete old;
            old = nullptr;
        }
        m_nodeShowsPicture = false;
        m_frameDirty = false;
        auto* background = static_cast<QSGRectangleNode*>(old);
        if (!background) {
            background = window()->createRectangleNode();
            background->setColor(Qt::black);
        }
        background->setRect(boundingRect());
        return background;
    }
    if (old && !m_nodeShowsPicture) {
        delete old;
        old = nullptr;
    }
    m_nodeShowsPicture = true;
    QSGImageNode* image =
        m_texture.update(*window(), static_cast<QSGImageNode*>(old), m_frame, boundingRect(),
                         aspectFillSource(QSizeF(m_frame.width(), m_frame.height()), size()),
                         m_mirrored ? Qt::Horizontal : Qt::Orientations(), m_frameDirty);
    m_frameDirty = false;
    return image;
}
