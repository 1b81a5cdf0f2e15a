#pragma once

#include <QPointer>
#include <QSize>
#include <QString>

#include "ui/viewer/videoencoder.h"
#include "ui/viewer/videoscript.h"

namespace vorlen {

class ViewerCanvasGL;

/// Draws the frames of a script beside the window of a canvas and makes a film of them, in steps that its owner calls
/// for while the window lives on.
class VideoRecorder {
public:
    /// Throws as VideoEncoder::open().
    void start(ViewerCanvasGL& canvas, const VideoScript& script, const QString& file, const QSize& size, int rate);
    bool isRunning() const { return __encoder.isOpen(); }

    /// Draws the next frame, unless ffmpeg has not come after yet, or waits a moment for the film to be whole; true
    /// when it is. Throws FileWriteError when it can't be written or drawn; nothing is left of it then.
    bool step();

    int getNumFrames() const { return __frame; }
    int getTotal() const { return __script.numFrames; }

    /// The film ends with the frames that are drawn. Without any it is cancelled.
    void stop();
    void cancel();

private:
    QPointer<ViewerCanvasGL> __canvas;
    VideoScript __script;
    VideoEncoder __encoder;
    QString __file;
    QSize __size;
    int __frame = 0;
    bool __closed = false;
};

} // namespace vorlen
