#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

// The logo mark for QML: set the height; the width follows (180 : 160). Rings in `ringColor`.
class LogoMarkItem : public QQuickPaintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(OstrelMark)
    Q_PROPERTY(QColor ringColor READ ringColor WRITE setRingColor NOTIFY ringColorChanged)

public:
    explicit LogoMarkItem(QQuickItem* parent = nullptr);

    QColor ringColor() const { return m_ringColor; }
    void setRingColor(const QColor& color);
    void paint(QPainter* painter) override;

signals:
    void ringColorChanged();

private:
    QColor m_ringColor{250, 250, 247}; // paper
};
