#pragma once

#include <QList>
#include <QPointer>
#include <QSize>
#include <QString>

#include "ui/progress/vrlprogressproxy.h"
#include "values/pixelcalibration.h"

namespace vorlen {

class Image;
class ImageSource;
class VRLImageServer;

/// The image side of one view: given a server and a source, it knows the image's size at once and is handed the image
/// later, with smaller ones behind it as they get ready.
///
/// Images belong to the server. They may be looked at from imageChanged() on until clearImage(), which the server calls
/// before it drops them; no view keeps an Image pointer of its own. The source is only used during setImageSource() and
/// setImageServer(): it may go once another source or none is set.
///
/// Decisions: another source, or no server, gives the images of the present source back at once. A source may be set
/// before a server; the reading then begins with setImageServer(). All operations belong to the main thread, where the
/// signals arrive too. A slot of a signal may do anything with any proxy, its own included, up to destroying it.
class VRLImageProxy : public VRLProgressProxy {
    Q_OBJECT

public:
    explicit VRLImageProxy(QObject* parent = nullptr);
    ~VRLImageProxy() override;

    /// Leaves the present server, if it is another one.
    void setImageServer(VRLImageServer& server);
    void clearImageServer();
    /// False also when the server has been destroyed.
    bool hasImageServer() const;
    /// Throws ProgramError "This proxy has no image server".
    VRLImageServer& getImageServer() const;

    /// The source that is set already does nothing. The image may arrive within the call, when the server has it.
    void setImageSource(const ImageSource& source);
    bool hasImageSource() const;
    /// Throws ProgramError "This proxy has no image source".
    const ImageSource& getImageSource() const;
    /// The source's address, by which the server finds its image; null without a source.
    const ImageSource* key() const;

    /// Appends the image unless it is there already; emits imageChanged() either way.
    void setImage(Image& image);
    bool hasImage() const;
    /// Forgets all images, and a failure.
    void clearImage();
    /// The first, full image. Throws ProgramError "This proxy has no image".
    Image& getImage() const;
    /// The smallest image wider than the size, or the largest when none is wider. Throws as getImage().
    Image& getImage(const QSize& size) const;
    int getNumImages() const;
    /// Whether the first image is smaller than the full size that the server gives of others: the overview of a section
    /// that is too large to be read as a whole.
    bool isOverview() const;

    /// What the server calls when there will be no image: keeps the message and emits imageFailed().
    void setFailure(const QString& message);
    bool hasFailed() const;
    /// Why there is no image, naming the file; empty unless the reading has failed.
    const QString& getFailure() const;

    /// Width and height of the full image in pixels, known from the source before the image is read.
    void setOriginalImageSize(const QSize& size);
    const QSize& getOriginalImageSize() const;
    void clearOriginalImageSize();
    /// Width or height is not zero.
    bool hasOriginalImageSize() const;
    /// Width and height are zero.
    bool isEmpty() const;

    void setPixelCalibration(const PixelCalibration& calibration);
    const PixelCalibration& getPixelCalibration() const;

    /// No images, no size, no server, no source.
    void clear();

signals:
    /// Once for each image that arrives.
    void imageChanged();
    /// The image cannot be had. The message is a whole sentence that names the file.
    void imageFailed(const QString& message);

private:
    void __leaveServer();

    const ImageSource* __source = nullptr;
    QSize __originalSize{0, 0};
    QList<Image*> __images;
    QString __failure;
    PixelCalibration __pixelCalibration;
    QPointer<VRLImageServer> __server;
};

} // namespace vorlen
