#include "ui/viewer/vrlcreatevideodialog.h"

#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <QStandardItemModel>

#include "ui/widgets/qinputbox.h"

namespace vorlen {

VRLCreateVideoDialog::VRLCreateVideoDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle("Create Video Dialog");
    setModal(false);
    auto* const rate = new QGroupBox("Frame per seconds", this);
    __rate = new QInputBox(QString(), rate, 15, 60, " fps");
    __rate->setValue(20);
    (new QVBoxLayout(rate))->addWidget(__rate);

    auto* const content = new QGroupBox("Video", this);
    auto* const form = new QFormLayout(content);
    __path = new QComboBox(content);
    __path->setAccessibleName("Motion");
    __path->addItem("Spin once round", int(VideoPath::Spinning));
    __path->addItem("Random motion", int(VideoPath::Random));
    __path->addItem("Animation of the shapes", int(VideoPath::Animation));
    __path->addItem("Through the stored poses", int(VideoPath::Poses));
    __path->addItem("Through the slices", int(VideoPath::Slices));
    form->addRow("Motion:", __path);
    __size = new QComboBox(content);
    __size->setAccessibleName("Size");
    __size->addItem("Window", QSize());
    for (const QSize size : {QSize(1280, 720), QSize(1920, 1080), QSize(3840, 2160)})
        __size->addItem(QString("%1 x %2").arg(size.width()).arg(size.height()), size);
    form->addRow("Size:", __size);
    __seconds = new QSpinBox(content);
    __seconds->setRange(1, 3600);
    __seconds->setValue(10);
    __seconds->setSuffix(" s");
    __seconds->setAccessibleName("Length");
    form->addRow("Length:", __seconds);

    auto* const informations = new QGroupBox("Informations", this);
    auto* const lines = new QFormLayout(informations);
    __numFrames = new QLabel("0", informations);
    __numFrames->setAccessibleName("Number of frames");
    __duration = new QLabel("0", informations);
    __duration->setAccessibleName("Duration");
    lines->addRow("Number of frames: ", __numFrames);
    lines->addRow(" duration (seconds): ", __duration);
    __progress = new QProgressBar(informations);
    __progress->setAccessibleName("Progress");
    lines->addRow(__progress);

    __record = new QPushButton(" Record ", this);
    __stop = new QPushButton(" Stop ", this);
    __stop->setToolTip("End the video here, with what is recorded");
    auto* const cancel = new QPushButton(" Cancel ", this);
    auto* const buttons = new QHBoxLayout;
    for (QPushButton* button : {__record, __stop, cancel})
        buttons->addWidget(button);
    auto* const layout = new QVBoxLayout(this);
    for (QWidget* group : {rate, content, informations})
        layout->addWidget(group);
    layout->addLayout(buttons);
    __questions = {rate, content, __record};
    setRecording(false);
    setTotal(0);
    connect(__rate, &QInputBox::valueChanged, this, &VRLCreateVideoDialog::frameChanged);
    connect(__record, &QPushButton::clicked, this, &VRLCreateVideoDialog::videoStartClicked);
    connect(__stop, &QPushButton::clicked, this, &VRLCreateVideoDialog::videoStopClicked);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
}

int VRLCreateVideoDialog::getFrame() const {
    return __rate->getValue();
}

VideoPath VRLCreateVideoDialog::getPath() const {
    return VideoPath(__path->currentData().toInt());
}

QSize VRLCreateVideoDialog::getSize() const {
    return __size->currentData().toSize();
}

int VRLCreateVideoDialog::getSeconds() const {
    return __seconds->value();
}

void VRLCreateVideoDialog::setWindowSize(const QSize& size) {
    __size->setItemData(0, size);
    __size->setItemText(0, QString("Window (%1 x %2)").arg(size.width()).arg(size.height()));
}

void VRLCreateVideoDialog::setPathEnabled(VideoPath path, bool enabled, const QString& reason) {
    const int row = __path->findData(int(path));
    QStandardItem* const item = static_cast<QStandardItemModel*>(__path->model())->item(row);
    item->setEnabled(enabled);
    item->setToolTip(enabled ? QString() : reason);
    if (!enabled && __path->currentIndex() == row)
        __path->setCurrentIndex(0);
}

void VRLCreateVideoDialog::setRecording(bool recording) {
    for (QWidget* question : __questions)
        question->setEnabled(!recording);
    __stop->setEnabled(recording);
}

void VRLCreateVideoDialog::setFrameRecord(int numFrames) {
    __numFrames->setText(QString::number(numFrames));
    __duration->setText(QString::number(numFrames / getFrame()));
    __progress->setValue(numFrames);
}

void VRLCreateVideoDialog::setTotal(int numFrames) {
    __progress->setRange(0, qMax(1, numFrames));
    setFrameRecord(0);
}

} // namespace vorlen
