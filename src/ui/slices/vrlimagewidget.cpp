#include "ui/slices/vrlimagewidget.h"

#include <QHBoxLayout>
#include <QScrollBar>
#include <QVBoxLayout>

#include "numerics/exception.h"
#include "ui/slices/vrlimagewidgetcanvas.h"
#include "ui/slices/vrlimagewidgetmediator.h"

namespace vorlen {

namespace {

template <class Box>
Box* newBox() {
    auto* const box = new Box;
    box->setContentsMargins(0, 0, 0, 0);
    box->setSpacing(0);
    return box;
}

} // namespace

VRLImageWidget::VRLImageWidget(QWidget* parent) : QWidget(parent) {
    if (parent == nullptr) {
        setAttribute(Qt::WA_DeleteOnClose);
        resize(400, 300);
    }
}

// The mediator works on the other children and goes before them.
VRLImageWidget::~VRLImageWidget() {
    delete __mediator;
}

void VRLImageWidget::initialize() {
    if (__canvas != nullptr)
        throw ProgramError("void VRLImageWidget::initialize()", "This widget has been initialized before");
    constexpr int barWidth = 16;
    __canvas = newCanvas();
    __horizontalScrollBar = new QScrollBar(Qt::Horizontal, this);
    __horizontalScrollBar->setFixedHeight(barWidth);
    __horizontalScrollBar->setAccessibleName("Scroll the image left and right");
    __verticalScrollBar = new QScrollBar(Qt::Vertical, this);
    __verticalScrollBar->setFixedWidth(barWidth);
    __verticalScrollBar->setAccessibleName("Scroll the image up and down");
    __mediator = newMediator();

    __mediator->setCanvas(*__canvas);
    __mediator->setScrollBars(*__horizontalScrollBar, *__verticalScrollBar);
    if (__statusBar)
        __mediator->setStatusBar(*__statusBar);
    if (__toolBar)
        __mediator->setToolBar(*__toolBar);
    if (__slider)
        __mediator->setBlackWhiteDoubleSlider(*__slider);
    __mediator->initialize();

    auto* const left = newBox<QVBoxLayout>();
    left->addWidget(__canvas, 1);
    left->addWidget(__horizontalScrollBar, 0);
    left->addStretch(0);
    auto* const right = newBox<QVBoxLayout>();
    right->addWidget(__verticalScrollBar, 1);
    right->addSpacing(barWidth);
    right->addStretch(0);
    auto* const both = newBox<QHBoxLayout>();
    both->addLayout(left, 1);
    both->addLayout(right, 0);
    both->addStretch(0);
    setLayout(both);
    setFocusProxy(__canvas);
}

VRLImageWidgetCanvas* VRLImageWidget::newCanvas() {
    return new VRLImageWidgetCanvas(this);
}

VRLImageWidgetMediator* VRLImageWidget::newMediator() {
    return new VRLImageWidgetMediator(*this);
}

VRLImageWidgetStatusBar* VRLImageWidget::newStatusBar() {
    return new VRLImageWidgetStatusBar;
}

void VRLImageWidget::setStatusBar(VRLImageWidgetStatusBar& statusBar) {
    __statusBar = &statusBar;
}

void VRLImageWidget::setToolBar(QToolBar& toolBar) {
    __toolBar = &toolBar;
}

void VRLImageWidget::setBlackWhiteDoubleSlider(BlackWhiteDoubleSlider& slider) {
    __slider = &slider;
}

VRLImageWidgetMediator& VRLImageWidget::getMediator() const {
    if (__mediator == nullptr)
        throw ProgramError("VRLImageWidgetMediator& VRLImageWidget::getMediator() const",
                           "This widget has not been initialized");
    return *__mediator;
}

VRLImageWidgetCanvas& VRLImageWidget::getCanvas() const {
    return getMediator().getCanvas();
}

void VRLImageWidget::setActionsEnabled(bool enabled) {
    getMediator().setActionsEnabled(enabled);
}

void VRLImageWidget::setScrollBarVisible(bool visible) {
    getMediator().setScrollBarsVisible(visible);
}

void VRLImageWidget::setImageServer(VRLImageServer& server) {
    getMediator().setImageServer(server);
}

VRLImageServer& VRLImageWidget::getImageServer() const {
    return getMediator().getImageServer();
}

void VRLImageWidget::removeImageServer() {
    getMediator().removeImageServer();
}

void VRLImageWidget::clear() {
    getMediator().clear();
}

void VRLImageWidget::notifyViewChange(const QRect& view) {
    emit viewChanged(view);
}

} // namespace vorlen
