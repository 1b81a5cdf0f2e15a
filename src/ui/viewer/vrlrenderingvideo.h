#pragma once

#include <functional>

#include <QObject>
#include <QPointer>
#include <QTimer>

#include "ui/viewer/videorecorder.h"

namespace vorlen {

class VRLCreateVideoDialog;
class ViewerCanvasGL;

/// Records videos of a canvas: asks for the name of the file, records frame by frame while the window lives on, and
/// tells what came of it. A name that is not given leaves everything as it was; "Stop" ends the film early, "Cancel"
/// and the end of the canvas drop it.
///
/// Decisions: the name is asked for before the recording, so that the film can be written as it grows and nothing lies
/// on the disk beside it.
class VRLRenderingVideo : public QObject {
    Q_OBJECT

public:
    /// Makes the script of a path for the dialog's rate and length.
    using Script = std::function<VideoScript(VideoPath path, int numFrames, int rate)>;

    explicit VRLRenderingVideo(QObject* parent = nullptr);
    ~VRLRenderingVideo() override;

    void setScript(Script script) { __script = std::move(script); }

    /// Opens the dialog beside the canvas, or brings the one that is open to the front.
    void initialize(ViewerCanvasGL& canvas);

    /// Null without one.
    VRLCreateVideoDialog* getDialog() const;
    bool isRecording() const { return __recorder.isRunning(); }

public slots:
    void runVideo();
    /// One frame; on a timer while it records.
    void saveImage();
    void stopVideo();
    void cleanVideo();

signals:
    /// A film is whole.
    void recorded(const QString& file);
    /// A recording is over, whatever came of it.
    void ended();

private:
    QString askForFile();
    void end();
    void tell(const QString& reason);

    QPointer<ViewerCanvasGL> __canvas;
    QPointer<VRLCreateVideoDialog> __dialog;
    QTimer __timer;
    VideoRecorder __recorder;
    Script __script;
    QString __file;
};

} // namespace vorlen
