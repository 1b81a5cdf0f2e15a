#pragma once

#include <functional>
#include <memory>
#include <string>

#include <QImage>
#include <QSignalSpy>
#include <QTest>
#include <QToolBar>
#include <QVBoxLayout>

#include <gtest/gtest.h>

#include "editing/stacks/vrlstack.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "support/documentmaker.h"
#include "support/temporaryfolder.h"
#include "support/testimages.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/imageserver/vrlimageserver.h"
#include "ui/slices/vrlsliceeditwidget.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetmediator.h"
#include "ui/slices/vrlsliceeditwidgetstatusbar.h"
#include "ui/widgets/blackwhitedoubleslider.h"

namespace vorlen {

/// Counts the paint events of the object that it filters.
class PaintCounter : public QObject {
public:
    bool eventFilter(QObject*, QEvent* event) override {
        count += event->type() == QEvent::Paint;
        return false;
    }

    int count = 0;
};

/// A window with a slice editor, whose image and slice levels the tests are about, with all its optional parts, an
/// image server and a stack whose slices get images.
class WidgetTest : public ::testing::Test {
protected:
    WidgetTest() {
        auto* layout = new QVBoxLayout(&window);
        layout->setContentsMargins(0, 0, 0, 0);
        widget = new VRLSliceEditWidget(&window);
        toolBar = new QToolBar(&window);
        slider = new BlackWhiteDoubleSlider(&window);
        statusBar = static_cast<VRLSliceEditWidgetStatusBar*>(widget->newStatusBar());
        widget->setStatusBar(*statusBar);
        widget->setToolBar(*toolBar);
        widget->setBlackWhiteDoubleSlider(*slider);
        widget->initialize();
        widget->setImageServer(server);
        layout->addWidget(toolBar);
        layout->addWidget(slider);
        layout->addWidget(widget, 1);
        layout->addWidget(statusBar);
        canvas = &widget->getCanvas();
        mediator = &widget->getMediator();
    }

    ~WidgetTest() override { widget->clear(); }

    /// Shows the window with a canvas of this size, as long as there are no scroll bars.
    void show(int width, int height) {
        widget->setFixedSize(width, height);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }

    /// A new slice with this image.
    StackSlice& addSlice(const Image& image, const std::string& name = "slice") {
        const std::string path = folder.file(name + std::to_string(stack.getNumSlices()) + ".tif");
        ImageWriter().write(image, path, true);
        ImageSourceFile source;
        source.setFilename(path);
        auto* slice = new StackSlice;
        slice->setName(name);
        slice->setImageSource(source);
        stack.addSlice(slice);
        return *slice;
    }

    /// Shows the slice and waits for its image.
    void showSlice(StackSlice& slice) {
        widget->setSlice(slice);
        ASSERT_TRUE(QTest::qWaitFor([this] { return canvas->getImageProxy().hasImage(); }, 20000));
    }

    bool settle() {
        return QTest::qWaitFor(
            [this] { return server.getNumPending() + server.getNumRunning() + server.getNumCanceled() == 0; }, 20000);
    }

    /// Leaves best fit for this zoom.
    void zoomTo(float zoom) {
        if (canvas->isBestFitMode())
            mediator->increaseZoomFactor();
        canvas->setZoomFactor(zoom);
        QTest::qWait(0);
        mediator->updateScrollBars();
        mediator->updateActions();
    }

    QImage picture() { return canvas->grabFramebuffer().convertToFormat(QImage::Format_RGB32); }

    /// Number of paints of the canvas that an action leads to.
    int numPaints(const std::function<void()>& action) {
        QTest::qWait(60);
        PaintCounter counter;
        canvas->installEventFilter(&counter);
        action();
        QTest::qWait(60);
        return counter.count;
    }

    QAction* action(const QString& text) const {
        for (QAction* candidate : canvas->actions() + toolBar->actions())
            if (candidate->text().remove('&') == text)
                return candidate;
        return nullptr;
    }

    TemporaryFolder folder;
    VRLImageServer server;
    VRLStack stack;
    QWidget window;
    VRLSliceEditWidget* widget;
    QToolBar* toolBar;
    BlackWhiteDoubleSlider* slider;
    VRLSliceEditWidgetStatusBar* statusBar;
    VRLSliceEditWidgetCanvas* canvas;
    VRLSliceEditWidgetMediator* mediator;
};

/// The sentence of the error that the operation throws; empty when it throws none.
template <class Error, class Operation>
std::string whatOf(Operation operation) {
    try {
        operation();
    } catch (const Error& error) {
        return error.getWhat();
    }
    return std::string();
}

inline bool isNear(QRgb a, QRgb b, int tolerance = 3) {
    return std::abs(qRed(a) - qRed(b)) <= tolerance && std::abs(qGreen(a) - qGreen(b)) <= tolerance &&
           std::abs(qBlue(a) - qBlue(b)) <= tolerance;
}

/// Gray image with its corners marked: 40 at the top left, 90 top right, 140 bottom left, 250 bottom right.
inline Image fourCorners(int width, int height) {
    Image image(width, height, 8);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.getPixels()[y][x] =
                static_cast<unsigned char>(y < height / 2 ? (x < width / 2 ? 40 : 90) : (x < width / 2 ? 140 : 250));
    return image;
}

} // namespace vorlen
