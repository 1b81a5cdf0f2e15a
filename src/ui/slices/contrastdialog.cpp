#include "ui/slices/contrastdialog.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

#include <QDoubleSpinBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "document/stackslice.h"
#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/operations/stackoperations.h"
#include "editing/stacks/vrlstack.h"
#include "images/rasters/image.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/models/guarded.h"
#include "ui/models/refusal.h"
#include "ui/slices/histogramview.h"
#include "ui/slices/vrlslicewidget.h"
#include "ui/slices/vrlslicewidgetcanvas.h"
#include "ui/widgets/blackwhitedoubleslider.h"

namespace vorlen {

namespace {

constexpr double whiteByte = 255;

QDoubleSpinBox* newValueBox(const QString& name, QWidget* parent) {
    auto* const box = new QDoubleSpinBox(parent);
    box->setAccessibleName(name);
    box->setRange(-1e9, 1e9);
    box->setKeyboardTracking(false);
    return box;
}

/// The value below which a part of the samples lies.
double percentile(const GreyHistogram& histogram, double part) {
    double below = 0;
    for (int bin = 0; bin < GreyHistogram::numBins; ++bin) {
        below += double(histogram.counts[std::size_t(bin)]);
        if (below >= part * double(histogram.numSamples))
            return double(histogram.valueOf(bin));
    }
    return double(histogram.greatest);
}

} // namespace

ContrastDialog::ContrastDialog(VRLSliceWidget& widget, BlackWhiteDoubleSlider& slider, QWidget* parent)
    : QDialog(parent), __widget(&widget), __slider(&slider) {
    setWindowTitle("Contrast");
    __histogram = new HistogramView(this);
    __black = newValueBox("Black", this);
    __white = newValueBox("White", this);
    __automatic = new QPushButton("Automatic", this);
    __automatic->setToolTip("From the value below which 1 of 100 pixels lie, to that below which 998 of 1000 lie");
    __all = new QPushButton("Whole range", this);
    __all->setToolTip("From the least value of the image to the greatest");
    auto* const close = new QPushButton("Close", this);
    for (QPushButton* button : {__automatic, __all, close})
        button->setAutoDefault(false);
    __notice = new QLabel(this);
    __notice->setWordWrap(true);
    __notice->setTextFormat(Qt::PlainText);
    __notice->setAccessibleName("Notice");

    auto* const values = new QHBoxLayout;
    values->addWidget(new QLabel("Black:", this));
    values->addWidget(__black, 1);
    values->addSpacing(12);
    values->addWidget(new QLabel("White:", this));
    values->addWidget(__white, 1);
    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(__automatic);
    buttons->addWidget(__all);
    buttons->addStretch(1);
    buttons->addWidget(close);
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(__histogram, 1);
    layout->addLayout(values);
    layout->addWidget(__notice);
    layout->addLayout(buttons);

    connect(__histogram, &HistogramView::windowChanged, this, &ContrastDialog::preview);
    connect(__histogram, &HistogramView::windowSettled, this, &ContrastDialog::settle);
    for (QDoubleSpinBox* box : {__black, __white})
        connect(box, &QDoubleSpinBox::valueChanged, this, &ContrastDialog::spinChanged);
    connect(__automatic, &QPushButton::clicked, this, &ContrastDialog::findWindow);
    connect(__all, &QPushButton::clicked, this, &ContrastDialog::takeAll);
    connect(close, &QPushButton::clicked, this, &QDialog::close);
    connect(&slider, &BlackWhiteDoubleSlider::valuesChanged, this, &ContrastDialog::showWindow);
    connect(&widget.getCanvas().getImageProxy(), &VRLImageProxy::imageChanged, this, &ContrastDialog::imageChanged);
    connect(&widget, &VRLImageWidget::viewChanged, this, [this] {
        if (image() == nullptr)
            imageChanged();
    });
    imageChanged();
}

void ContrastDialog::sliceLockEvent(VRLSliceLockEvent& event) {
    __locked = event.isLockOn();
    showWindow();
}

void ContrastDialog::stackModifyEvent(VRLStackModifyEvent& event) {
    if (event.getStack() == stack())
        showWindow();
}

const Image* ContrastDialog::image() const {
    if (!__widget)
        return nullptr;
    const VRLImageProxy& proxy = __widget->getCanvas().getImageProxy();
    return proxy.hasImage() ? &proxy.getImage() : nullptr;
}

VRLStack* ContrastDialog::stack() const {
    const StackSlice* const slice = __widget ? __widget->getCanvas().getSlice() : nullptr;
    return slice != nullptr ? dynamic_cast<VRLStack*>(slice->getStack()) : nullptr;
}

/// Whether the window is the stack's, and not only the view's.
bool ContrastDialog::isOfStack() const {
    const Image* const shown = image();
    return shown != nullptr && hasGreyScale(*shown) && stack() != nullptr && stack()->getGreyScale();
}

void ContrastDialog::imageChanged() {
    const Image* const shown = image();
    const GreyHistogram histogram = shown != nullptr ? GreyHistogram::of(*shown) : GreyHistogram();
    __histogram->setHistogram(histogram);
    const double range = double(histogram.greatest) - double(histogram.least);
    const bool real = shown != nullptr && shown->isReal();
    const int decimals = real && range > 0 ? std::clamp(4 - int(std::floor(std::log10(range))), 0, 8) : 0;
    for (QDoubleSpinBox* box : {__black, __white}) {
        const QSignalBlocker blocker(box);
        box->setDecimals(decimals);
        box->setSingleStep(real ? std::pow(10.0, -decimals + 2) : 1);
    }
    showWindow();
}

void ContrastDialog::showWindow() {
    if (__previewing)
        return;
    const Image* const shown = image();
    const bool any = shown != nullptr && GreyHistogram::isFor(*shown) && __slider;
    const bool usable = any && !(__locked && isOfStack());
    for (QWidget* part : std::initializer_list<QWidget*>{__histogram, __black, __white, __automatic, __all})
        part->setEnabled(usable);
    if (!any) {
        __notice->setText(shown != nullptr ? "The image has a palette: its contrast is fixed." : "There is no image.");
        return;
    }
    if (isOfStack()) {
        const GreyScale& scale = *stack()->getGreyScale();
        showNumbers(double(scale.low), double(scale.high));
        __notice->setText(__locked ? "Finish the drawing first."
                                   : "For all slices of the stack, and kept with it. Numbers "
                                     "and results stay as they are.");
    } else {
        showNumbers(double(__slider->getBlack()) * whiteByte, double(__slider->getWhite()) * whiteByte);
        __notice->setText("For this window; images of bytes are kept as they are.");
    }
}

void ContrastDialog::showNumbers(double black, double white) {
    __histogram->setWindow(black, white);
    const QSignalBlocker first(__black), second(__white);
    __black->setValue(black);
    __white->setValue(white);
}

void ContrastDialog::preview(double black, double white) {
    const QScopedValueRollback previewing(__previewing, true); // the slider tells of itself
    const QSignalBlocker first(__black), second(__white);
    __black->setValue(black);
    __white->setValue(white);
    if (!__widget || !__slider)
        return;
    if (!isOfStack()) {
        __slider->setValues(float(black / whiteByte), float(white / whiteByte));
        return;
    }
    if (__slider->getBlack() != 0 || __slider->getWhite() != 1)
        __slider->reset();
    GreyScale scale = *stack()->getGreyScale();
    scale.low = float(black);
    scale.high = float(white);
    __widget->getCanvas().setGreyScale(scale);
}

/// What was previewed becomes the stack's.
void ContrastDialog::settle() {
    if (!isOfStack())
        return showWindow();
    StackChange change;
    change.greyScale = *stack()->getGreyScale();
    change.greyScale->low = float(__histogram->getBlack());
    change.greyScale->high = float(__histogram->getWhite());
    if (*change.greyScale != *stack()->getGreyScale())
        guarded(this, "The contrast cannot be changed.", [&] { tellRefusal(this, changeStack(*stack(), change)); });
    if (isOfStack())
        __widget->getCanvas().setGreyScale(*stack()->getGreyScale());
    showWindow();
}

void ContrastDialog::setWindow(double black, double white) {
    __histogram->setWindow(black, white);
    preview(black, white);
    settle();
}

/// A number that does not fit to the other one moves that.
void ContrastDialog::spinChanged() {
    const double step = __black->singleStep();
    double black = __black->value(), white = __white->value();
    if (!(black < white))
        sender() == __black ? white = black + step : black = white - step;
    setWindow(black, white);
}

void ContrastDialog::findWindow() {
    const Image* const shown = image();
    if (shown == nullptr)
        return;
    if (isOfStack()) {
        GreyScaleFinder finder;
        finder.add(*shown);
        const GreyScale scale = finder.find().value_or(GreyScale());
        return setWindow(double(scale.low), double(scale.high));
    }
    const GreyHistogram histogram = GreyHistogram::of(*shown);
    const double low = std::floor(percentile(histogram, 0.01)), high = percentile(histogram, 0.998);
    setWindow(low, std::max(high, low + 1));
}

void ContrastDialog::takeAll() {
    const Image* const shown = image();
    if (shown == nullptr)
        return;
    const GreyHistogram histogram = GreyHistogram::of(*shown);
    if (isOfStack())
        setWindow(double(histogram.least), std::max(double(histogram.greatest), double(histogram.least) + 1e-6));
    else
        setWindow(0, whiteByte);
}

} // namespace vorlen
