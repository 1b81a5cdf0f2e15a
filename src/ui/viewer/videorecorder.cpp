#include "ui/viewer/videorecorder.h"

#include <algorithm>

#include <QFile>

#include "numerics/exception.h"
#include "ui/viewer/viewercanvasgl.h"

namespace vorlen {

void VideoRecorder::start(ViewerCanvasGL& canvas, const VideoScript& script, const QString& file, const QSize& size,
                          int rate) {
    __encoder.open(file, size, rate);
    __canvas = &canvas;
    __script = script;
    __file = file;
    __size = VideoEncoder::sizeFor(file, size);
    __frame = 0;
    __closed = false;
}

bool VideoRecorder::step() {
    if (!isRunning())
        return true;
    if (!__closed && __frame >= __script.numFrames)
        stop();
    if (__closed)
        return __encoder.isFinished(20);
    if (__encoder.isBusy()) {
        __encoder.waitForRoom(20);
        return false;
    }
    const QImage frame = __canvas == nullptr ? QImage() : __canvas->renderFrame(__size, __script.camera(__frame));
    if (frame.isNull()) {
        cancel();
        throw FileWriteError("bool VideoRecorder::step()", "OpenGL can't draw pictures of this size",
                             QFile::encodeName(__file).toStdString());
    }
    __encoder.write(frame);
    ++__frame;
    return false;
}

void VideoRecorder::stop() {
    if (__frame == 0)
        return cancel();
    __closed = true;
    __encoder.close();
}

void VideoRecorder::cancel() {
    __encoder.cancel();
}

} // namespace vorlen
