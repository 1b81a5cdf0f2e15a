#pragma once

#include <vector>

#include <QDialog>

#include "ui/viewer/videoscript.h"

class QComboBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QSpinBox;

namespace vorlen {

class QInputBox;

/// Asks what a video is to show, and in what size, rate and length; and shows how far it is. It stays open beside its
/// window, not modal, and does nothing by itself.
class VRLCreateVideoDialog : public QDialog {
    Q_OBJECT

public:
    explicit VRLCreateVideoDialog(QWidget* parent = nullptr);

    /// Frames a second.
    int getFrame() const;
    VideoPath getPath() const;
    QSize getSize() const;
    int getSeconds() const;
    int getNumFrames() const { return getFrame() * getSeconds(); }

    /// The first of the sizes.
    void setWindowSize(const QSize& size);
    /// A path that can't be taken is grey, with the reason as its tip.
    void setPathEnabled(VideoPath path, bool enabled, const QString& reason);

    /// While it records, only what ends the recording can be used.
    void setRecording(bool recording);
    /// Shows so many frames, and how long they last.
    void setFrameRecord(int numFrames);
    void setTotal(int numFrames);

signals:
    void videoStartClicked();
    void videoStopClicked();
    void frameChanged(int rate);

private:
    QInputBox* __rate;
    QComboBox *__path, *__size;
    QSpinBox* __seconds;
    QLabel *__numFrames, *__duration;
    QProgressBar* __progress;
    QPushButton *__record, *__stop;
    std::vector<QWidget*> __questions;
};

} // namespace vorlen
