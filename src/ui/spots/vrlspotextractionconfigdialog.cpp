#include "ui/spots/vrlspotextractionconfigdialog.h"

#include <cmath>

#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "spots/spotfilters.h"
#include "ui/slices/vrlchanneleditor.h"
#include "ui/spots/vrlspotextractionconfigeditor.h"

namespace vorlen {

namespace {

QString sizeText(double bytes) {
    const double mebibytes = bytes / (1024 * 1024);
    return mebibytes < 1000 ? QString::number(std::ceil(mebibytes)) + " MiB"
                            : QString::number(mebibytes / 1024, 'f', 1) + " GiB";
}

/// Bytes that programs can have without swapping; 0 where the system does not tell.
double freeMemory() {
    QFile file("/proc/meminfo");
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : file.readAll().split('\n'))
        if (line.startsWith("MemAvailable:"))
            return line.simplified().split(' ').value(1).toDouble() * 1024;
    return 0;
}

} // namespace

VRLSpotExtractionConfigDialog::VRLSpotExtractionConfigDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle("Find spots");
    __channel = new VRLChannelEditor(this);
    __editor = new VRLSpotExtractionConfigEditor(this);
    __memory = new QLabel(this);
    __memory->setWordWrap(true);
    __memory->setAccessibleName("Memory");
    __run = new QPushButton("&Run", this);
    __run->setDefault(true);
    auto* const cancel = new QPushButton("&Cancel", this);
    cancel->setAutoDefault(false);
    auto* const buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(__run);
    buttons->addWidget(cancel);
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(__channel);
    layout->addWidget(__editor);
    layout->addWidget(__memory);
    layout->addLayout(buttons);
    connect(__run, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(__editor, &VRLSpotExtractionConfigEditor::configChanged, this, &VRLSpotExtractionConfigDialog::showMemory);
    showMemory();
}

void VRLSpotExtractionConfigDialog::setConfig(const VRLSpotExtractionConfig& config) {
    __editor->setConfig(config);
}

VRLSpotExtractionConfig VRLSpotExtractionConfigDialog::getConfig() const {
    return __editor->getConfig();
}

void VRLSpotExtractionConfigDialog::setChannel(const ImageColorContent& channel) {
    __channel->setChannel(channel);
}

ImageColorContent VRLSpotExtractionConfigDialog::getChannel() const {
    return ImageColorContent(__channel->getChannel());
}

void VRLSpotExtractionConfigDialog::enableChannelSelector(bool enabled) {
    __channel->setEnabled(enabled);
}

void VRLSpotExtractionConfigDialog::showMemory() {
    const VRLSpotExtractionConfig config = __editor->getConfig();
    __run->setEnabled(!config.getBasename().empty());
    const Vector<int>& size = config.getVolumeSize();
    if (size.getSize() != 3)
        return __memory->clear();
    const double memory = spotMemory(size, config), available = freeMemory();
    QString text = QString("%1 x %2 x %3 voxels: the run takes about %4 of memory.")
                       .arg(size[1])
                       .arg(size[0])
                       .arg(size[2])
                       .arg(sizeText(memory));
    if (available > 0 && memory > available)
        text = "<b>" + text + " Only " + sizeText(available) + " are free: resize the volume.</b>";
    __memory->setText(text);
}

} // namespace vorlen
