#pragma once

#include <QStatusBar>

class QLabel;

namespace vorlen {

/// Status bar of an image widget: fields for the image's type and size, the zoom, and the pixel under the pointer.
class VRLImageWidgetStatusBar : public QStatusBar {
    Q_OBJECT

public:
    explicit VRLImageWidgetStatusBar(QWidget* parent = nullptr);

    void setImageTypeInfo(const QString& text);
    void setImageSizeInfo(const QString& text);
    void setZoomInfo(const QString& text);
    void setPixelInfo(const QString& text);

    QString getImageTypeInfo() const;
    QString getImageSizeInfo() const;
    QString getZoomInfo() const;
    QString getPixelInfo() const;

protected:
    /// Adds a field on the right of the others. It has no frame, so that nothing is to be seen where it is empty, and
    /// no text widens the window: what finds no room is in the tool tip.
    QLabel* addField(const QString& name);
    static void setField(QLabel& field, const QString& text);

private:
    QLabel* __imageType;
    QLabel* __imageSize;
    QLabel* __zoom;
    QLabel* __pixel;
};

} // namespace vorlen
