#include "ui/viewer/vrlrenderingvideo.h"

#include <exception>

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QRegularExpression>
#include <QSettings>

#include "numerics/exception.h"
#include "ui/viewer/viewercanvasgl.h"
#include "ui/viewer/vrlcreatevideodialog.h"

namespace vorlen {

namespace {

const char* const directoryKey = "videoDirectory";

QString suffixOf(const QString& filter) {
    static const QRegularExpression form("\\*\\.(\\w+)");
    return form.match(filter).captured(1);
}

} // namespace

VRLRenderingVideo::VRLRenderingVideo(QObject* parent) : QObject(parent) {
    connect(&__timer, &QTimer::timeout, this, &VRLRenderingVideo::saveImage);
}

VRLRenderingVideo::~VRLRenderingVideo() = default;

VRLCreateVideoDialog* VRLRenderingVideo::getDialog() const {
    return __dialog;
}

void VRLRenderingVideo::initialize(ViewerCanvasGL& canvas) {
    if (__dialog == nullptr || __canvas != &canvas) {
        cleanVideo();
        delete __dialog;
        __canvas = &canvas;
        __dialog = new VRLCreateVideoDialog(canvas.window());
        __dialog->setAttribute(Qt::WA_DeleteOnClose);
        connect(__dialog, &VRLCreateVideoDialog::videoStartClicked, this, &VRLRenderingVideo::runVideo);
        connect(__dialog, &VRLCreateVideoDialog::videoStopClicked, this, &VRLRenderingVideo::stopVideo);
        connect(__dialog, &QDialog::finished, this, &VRLRenderingVideo::cleanVideo);
    }
    __dialog->setWindowSize(canvas.size() * canvas.devicePixelRatioF());
    __dialog->show();
    __dialog->raise();
    __dialog->activateWindow();
}

/// The suffix is that of the chosen format where the user gives none that can be written.
QString VRLRenderingVideo::askForFile() {
    QFileDialog dialog(__dialog, "Save video as...", QSettings().value(directoryKey, QDir::homePath()).toString());
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilters(VideoEncoder::nameFilters());
    dialog.setDefaultSuffix(VideoEncoder::suffixes().value(0));
    connect(&dialog, &QFileDialog::filterSelected, &dialog,
            [&dialog](const QString& filter) { dialog.setDefaultSuffix(suffixOf(filter)); });
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    const QString file = dialog.selectedFiles().first();
    QSettings().setValue(directoryKey, QFileInfo(file).absolutePath());
    return file;
}

void VRLRenderingVideo::runVideo() {
    if (__dialog == nullptr || __canvas == nullptr || isRecording())
        return;
    __file = askForFile();
    if (__file.isEmpty() || __dialog == nullptr || __canvas == nullptr)
        return;
    QString failure;
    try {
        const int numFrames = __dialog->getNumFrames(), rate = __dialog->getFrame();
        const VideoScript script = __script(__dialog->getPath(), numFrames, rate);
        __recorder.start(*__canvas, script, __file, __dialog->getSize(), rate);
        __dialog->setTotal(numFrames);
        __dialog->setRecording(true);
        __timer.start(0);
    } catch (const Exception& error) {
        failure = QString::fromStdString(error.getWhat());
    }
    if (!failure.isEmpty())
        tell(failure);
}

void VRLRenderingVideo::saveImage() {
    QString failure;
    try {
        const bool whole = __recorder.step();
        if (__dialog != nullptr)
            __dialog->setFrameRecord(__recorder.getNumFrames());
        if (!whole)
            return;
    } catch (const Exception& error) {
        failure = QString::fromStdString(error.getWhat());
    } catch (const std::exception& error) {
        failure = QString::fromUtf8(error.what());
    }
    end();
    if (failure.isEmpty())
        emit recorded(__file);
    else
        tell(failure);
}

void VRLRenderingVideo::end() {
    __timer.stop();
    __recorder.cancel(); // of a film that is whole there is nothing to drop
    if (__dialog != nullptr)
        __dialog->setRecording(false);
    emit ended();
}

void VRLRenderingVideo::stopVideo() {
    if (!isRecording())
        return;
    __recorder.stop();
    if (!isRecording())
        end();
}

void VRLRenderingVideo::cleanVideo() {
    end();
}

void VRLRenderingVideo::tell(const QString& reason) {
    QMessageBox box(QMessageBox::Critical, "Video", "The video could not be made.\n\n" + __file + "\n" + reason + ".",
                    QMessageBox::Ok, __dialog);
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

} // namespace vorlen
