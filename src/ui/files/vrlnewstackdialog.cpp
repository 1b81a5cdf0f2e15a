#include "ui/files/vrlnewstackdialog.h"

#include <QComboBox>
#include <QFile>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

#include "editing/operations/imageslices.h"
#include "editing/stacks/vrlstackserver.h"
#include "images/files/dicomimagefile.h"
#include "ui/files/vrlstackimagelisteditor.h"
#include "ui/models/vrlstackpropertieseditor.h"
#include "ui/widgets/plaintext.h"

namespace vorlen {

VRLNewStackDialog::VRLNewStackDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle("New stack");
    setModal(true);
    auto* contents = new QWidget(this);
    __properties = new VRLStackPropertiesEditor(false, contents);
    __images = new VRLStackImageListEditor(contents);
    auto* fields = new QVBoxLayout(contents);
    fields->setContentsMargins(0, 0, 0, 0);
    fields->setSpacing(10);
    fields->addWidget(__properties);
    fields->addWidget(__images, 1);
    __channelRow = new QWidget(contents);
    auto* channelLayout = new QHBoxLayout(__channelRow);
    channelLayout->setContentsMargins(0, 0, 0, 0);
    auto* channelLabel = new QLabel("Channel", __channelRow);
    __channels = new QComboBox(__channelRow);
    __channels->setToolTip("The channel of the images that the slices show");
    channelLabel->setBuddy(__channels);
    channelLayout->addWidget(channelLabel);
    channelLayout->addWidget(__channels, 1);
    __channelRow->hide();
    fields->addWidget(__channelRow);

    auto* done = new QPushButton("Done", this);
    done->setDefault(true);
    auto* cancel = new QPushButton("Cancel", this);
    connect(done, &QPushButton::clicked, this, &VRLNewStackDialog::validate);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(10);
    buttons->addStretch(1);
    buttons->addWidget(done);
    buttons->addWidget(cancel);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(10, 10, 10, 10);
    layout->setSpacing(10);
    layout->addWidget(contents, 1);
    layout->addLayout(buttons);

    __properties->setName("stack" + std::to_string(VRLStackServer::getSessionNumStacks() + 1), true);
    __filledSpacing = getSliceSpacing();
    __filledCalibration = getPixelCalibration();
    connect(__images, &VRLStackImageListEditor::imagesChanged, this, &VRLNewStackDialog::lookAtImages);
    resize(480, sizeHint().height());
}

std::string VRLNewStackDialog::getName() const {
    return __properties->getName();
}

void VRLNewStackDialog::setName(const std::string& name) {
    __properties->setName(name, false);
}

double VRLNewStackDialog::getSliceSpacing() const {
    return __properties->getSliceSpacing();
}

void VRLNewStackDialog::setSliceSpacing(double spacing) {
    __properties->setSliceSpacing(spacing);
}

PixelCalibration VRLNewStackDialog::getPixelCalibration() const {
    PixelCalibration calibration = __properties->getPixelCalibration();
    calibration.setLengthUnit(__properties->getLengthUnit());
    return calibration;
}

void VRLNewStackDialog::setPixelCalibration(const PixelCalibration& calibration) {
    __properties->setPixelCalibration(calibration);
    __properties->setLengthUnit(calibration.getLengthUnit());
}

QStringList VRLNewStackDialog::getImageList() const {
    return __images->getImageList();
}

std::string VRLNewStackDialog::getChannel() const {
    return __channels->count() > 1 ? std::to_string(__channels->currentIndex() + 1) : std::string();
}

/// What can't be read is told when the stack is made.
void VRLNewStackDialog::lookAtImages() {
    const QString first = getImageList().value(0);
    // The distance of DICOM slices is told by all files together.
    const bool series = DicomImageFile::isDicom(QFile::encodeName(first).toStdString());
    const QStringList looked = series ? getImageList() : QStringList(first);
    if (looked == __lookedAt)
        return;
    __lookedAt = looked;
    __channels->clear();
    if (!first.isEmpty()) {
        std::vector<std::string> files;
        files.reserve(std::size_t(looked.size()));
        for (const QString& file : looked)
            files.push_back(QFile::encodeName(file).toStdString());
        const ImageSlices found = makeImageSlices(files, ImageChoice());
        // A colour image is shown in its colours.
        if (found.hasSeparateChannels)
            for (const std::string& name : found.channels)
                __channels->addItem(QString::fromStdString(name));
        const PixelCalibration present = getPixelCalibration();
        if (found.calibration && present == __filledCalibration &&
            present.getLengthUnit() == __filledCalibration.getLengthUnit()) {
            setPixelCalibration(*found.calibration);
            __filledCalibration = getPixelCalibration();
        }
        const LengthUnit unit = found.calibration ? found.calibration->getLengthUnit() : LengthUnit(-6);
        if (found.spacing && getSliceSpacing() == __filledSpacing && unit == getPixelCalibration().getLengthUnit()) {
            setSliceSpacing(Maths::shortestDecimal(*found.spacing));
            __filledSpacing = getSliceSpacing();
        }
    }
    __channelRow->setVisible(__channels->count() > 1);
}

void VRLNewStackDialog::validate() {
    if (__properties->validName() && __properties->validSliceSpacing() && __properties->validPixelCalibration() &&
        !__images->getImageList().isEmpty()) {
        accept();
        return;
    }
    PlainMessageBox box(QMessageBox::Warning, "Error",
                        "The stack cannot be created because\nthere are undefined or invalid fields",
                        QMessageBox::NoButton, this);
    box.addButton(" OK ", QMessageBox::AcceptRole);
    box.exec();
}

} // namespace vorlen
