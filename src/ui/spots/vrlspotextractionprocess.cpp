#include "ui/spots/vrlspotextractionprocess.h"

#include <QMessageBox>
#include <QPushButton>

#include "document/modelitem.h"
#include "document/stackslice.h"
#include "editing/operations/spotoperations.h"
#include "editing/stacks/vrlstack.h"
#include "spots/spotfilters.h"
#include "spots/spotprogress.h"
#include "spots/spotvolume.h"
#include "ui/models/refusal.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/spots/vrlspotextractionconfigdialog.h"
#include "ui/spots/vrlspotthresholddialog.h"
#include "ui/widgets/vrlprogressdialog.h"

namespace vorlen {

VRLSpotExtractionConfig VRLSpotExtractionProcess::__config = [] {
    VRLSpotExtractionConfig config;
    config.setFiltersSuggested(true);
    return config;
}();

VRLSpotExtractionProcess::VRLSpotExtractionProcess(QObject* parent) : QObject(parent) {
    ModelProperties& properties = __previewModel.getProperties();
    properties.setGeometry(PolypointPrimitive);
    properties.setSurfaceOpacity(192);
    ModelItemProperties& look = __previewModel.getItemProperties();
    look.setPointSize(1);
    look.setVertexSymbol(DotSymbol);
    look.setVertexSymbolFilling(true);
    look.setColor(255, 255, 0);
}

VRLSpotExtractionProcess::~VRLSpotExtractionProcess() {
    clearPreview();
}

void VRLSpotExtractionProcess::setCanvas(VRLSliceEditWidgetCanvas& canvas) {
    __canvas = &canvas;
}

QWidget* VRLSpotExtractionProcess::parentWidget() const {
    return __canvas == nullptr ? nullptr : __canvas->window();
}

void VRLSpotExtractionProcess::run(VRLStack& stack) {
    __numSpots = 0;
    if (const std::string fault = spotFault(stack); !fault.empty()) {
        QMessageBox box(QMessageBox::Information, "Find spots", QString::fromStdString(fault) + ".", QMessageBox::Ok,
                        parentWidget());
        box.setTextFormat(Qt::PlainText);
        box.exec();
        return;
    }
    VRLSpotExtractionConfig start = __config;
    const Vector<int> size = spotVolumeSize(stack);
    if (start.getVolumeSize() != size)
        start.setNewSize(size); // that of another stack means nothing here
    start.setVolumeSize(size);
    start.setResolution(spotResolution(stack));
    VRLSpotExtractionConfigDialog dialog(parentWidget());
    dialog.setConfig(start);
    dialog.setChannel(spotChannel(stack));
    if (dialog.exec() != QDialog::Accepted)
        return;
    __config = dialog.getConfig();
    __channel = dialog.getChannel();
    reset();
    if (readAndFilter(stack) && threshold(stack) && agreeOnModels())
        createModels(stack);
}

bool VRLSpotExtractionProcess::readAndFilter(const VRLStack& stack) {
    VRLProgressDialog dialog(parentWidget());
    dialog.setWindowTitle("Find spots");
    addMonitor(dialog);
    notifyStarted("Reading images...");
    const bool done = readSpotVolume(stack, __channel, __grey, *this) && filter();
    notifyFinished("");
    removeMonitor(dialog);
    return done && !dialog.wasCanceled();
}

bool VRLSpotExtractionProcess::filter() {
    __suggestion = SpotSuggestion();
    if (__config.areFiltersSuggested()) {
        SpotProgress looking(*this, 1);
        if (!lookForSpots(__grey, __suggestion, looking))
            return false;
        setSuggestedFilters(__config, __suggestion, __grey.getSize());
    }
    __filtered = __grey;
    SpotProgress progress(*this, numSpotFilters(__config));
    return filterSpotVolume(__filtered, __config, progress);
}

bool VRLSpotExtractionProcess::threshold(const VRLStack& stack) {
    VRLSpotThresholdDialog dialog(stack, __filtered, __grey, __config, parentWidget());
    const QString filters = QString::fromStdString(filterText(__config));
    dialog.setNote(__config.areFiltersSuggested()
                       ? "Suggested by the images (" + QString::fromStdString(__suggestion.text()) + "): " + filters
                       : "Filters: " + filters);
    if (plane() >= 0)
        dialog.setPlane(plane());
    connect(&dialog, &VRLSpotThresholdDialog::thresholdChanged, this, &VRLSpotExtractionProcess::thresholdChanged);
    thresholdChanged(dialog.getThreshold());
    const bool accepted = dialog.exec() == QDialog::Accepted;
    clearPreview();
    __config = dialog.getConfig();
    __found = dialog.getSpots();
    return accepted && __found != nullptr;
}

/// The plane of the volume that the canvas shows; -1 for none.
int VRLSpotExtractionProcess::plane() const {
    const StackSlice* const slice = __canvas == nullptr ? nullptr : __canvas->getSlice();
    const int place = slice == nullptr || slice->getStack() == nullptr ? -1 : slice->getStack()->findSlice(*slice);
    return place < __filtered.getSize3() ? place : -1;
}

void VRLSpotExtractionProcess::thresholdChanged(double threshold) {
    clearPreview();
    const int k = plane();
    if (k < 0)
        return;
    const PixelMatrix<float>& values = __filtered[k];
    int n = 0;
    for (int i = 0; i < values.getSize1(); ++i)
        for (int j = 0; j < values.getSize2(); ++j)
            n += values[i][j] >= float(threshold) ? 1 : 0;
    if (n == 0 || n > mostMarks)
        return;
    Vertices<double> points(2, n, n, 1);
    int next = 0;
    const SpotGrid grid(*__canvas->getSlice()->getStack());
    for (int i = 0; i < values.getSize1(); ++i)
        for (int j = 0; j < values.getSize2(); ++j)
            if (values[i][j] >= float(threshold))
                points[next++] = grid.toPixels(k, j, i);
    __previewItem = std::make_unique<ModelItem>();
    __previewItem->setModel(&__previewModel);
    __previewItem->setVertices(points);
    __canvas->setExtraItem(__previewItem.get());
    __canvas->update();
}

void VRLSpotExtractionProcess::clearPreview() {
    if (__canvas == nullptr || __previewItem == nullptr)
        return;
    __canvas->setExtraItem(nullptr);
    __canvas->update();
    __previewItem.reset();
}

bool VRLSpotExtractionProcess::agreeOnModels() {
    const auto n = int(__found->spots.size());
    if (!__config.isSeparateModelsEnabled() || n <= mostSeparateModels)
        return true;
    QMessageBox box(QMessageBox::Question, "Find spots",
                    QString("There are %1 spots. Make a model of each, or one model of all?").arg(n),
                    QMessageBox::NoButton, parentWidget());
    const QAbstractButton* const one = box.addButton("One Model", QMessageBox::AcceptRole);
    const QAbstractButton* const each = box.addButton(QString("%1 Models").arg(n), QMessageBox::AcceptRole);
    box.setDefaultButton(qobject_cast<QPushButton*>(const_cast<QAbstractButton*>(one)));
    box.addButton(QMessageBox::Cancel);
    box.exec();
    if (box.clickedButton() == one)
        __config.setSeparateModelsEnabled(false);
    return box.clickedButton() == one || box.clickedButton() == each;
}

void VRLSpotExtractionProcess::createModels(VRLStack& stack) {
    const auto n = int(__found->spots.size());
    if (!tellRefusal(parentWidget(), addSpots(stack, *__found, __config)))
        __numSpots = n;
}

} // namespace vorlen
