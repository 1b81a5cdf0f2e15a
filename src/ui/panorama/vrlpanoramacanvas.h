#pragma once

#include <cstdint>
#include <optional>

#include <QFrame>
#include <QImage>
#include <QPixmap>
#include <QSize>

#include "images/rasters/greyscale.h"
#include "ui/slices/canvasmode.h"

namespace vorlen {

class Image;
class StackSlice;
class VRLImageProxy;
class VRLPainter;

/// The thumbnail of a slice, with the items that are drawn on it; a sign in its place where the image is missing.
///
/// While awake it has its image from the panorama image server of the slice's stack; asleep it holds none. The picture
/// is composed once and kept until something about it changes.
///
/// Decision: it paints by itself, with a painter. A slice widget for each of a thousand slices would mean a thousand
/// OpenGL contexts. The slice is seen, not owned.
class VRLPanoramaCanvas : public QFrame {
    Q_OBJECT

public:
    explicit VRLPanoramaCanvas(QWidget* parent = nullptr);
    ~VRLPanoramaCanvas() override;

    /// The image of the source that the slice has now, also for the slice that is set already.
    void setSlice(StackSlice& slice);
    StackSlice* getSlice() const { return __slice; }
    void clear();

    void setAwake(bool awake);
    bool isAwake() const { return __awake; }

    void setCanvasMode(CanvasMode mode);
    /// Of the picture without its frame; 256 x 256 at first.
    void setThumbnailSize(const QSize& size);

    /// What is drawn on the slice has changed.
    void itemsChanged();

    bool hasImage() const { return !__thumbnail.isNull(); }
    /// Why there is no image, as a sentence; empty otherwise.
    QString failure() const;

signals:
    /// The image came, or will not come.
    void imageSettled();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void askForImage();
    void forgetImage();
    void takeImage();
    void compose();
    QRect imageArea() const;
    void drawItems(VRLPainter& painter, const QRect& area) const;
    void drawSign(QPainter& painter) const;
    std::optional<GreyScale> stackScale() const;

    VRLImageProxy* __proxy; // a child
    StackSlice* __slice = nullptr;
    QSize __size{256, 256};
    CanvasMode __mode = AllgroundMode;
    bool __awake = false;
    QImage __thumbnail;
    std::optional<GreyScale> __scale; // of the stack, when the thumbnail was taken
    QPixmap __picture;                // null when it has to be composed
};

} // namespace vorlen
