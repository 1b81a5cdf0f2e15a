/// Speed of the slice editor: from an input event to the picture on the screen, in a window of 1600 by 1000 on a
/// section of 8192 by 8192 with 2000 items of 500 vertices. The reference keeps no picture between paints.
///
/// What an input costs besides is the composing of the window, which is what "hover" measures. "repaint" is the image
/// alone, without the window, in time of all processors; its reference sends the pixels of the view at each paint.
///
/// Usage: vorlen-bench-draw [options of Google Benchmark]. Needs a display, and says so where there is none.

#include <cmath>
#include <ctime>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>

#include <QAction>
#include <QDialog>
#include <QElapsedTimer>
#include <QEvent>
#include <QMouseEvent>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTimer>
#include <QVBoxLayout>

#include <benchmark/benchmark.h>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stackslice.h"
#include "document/stacksliceselectioninfo.h"
#include "editing/stacks/vrlstack.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/imageserver/vrlimageserver.h"
#include "ui/slices/vrlsliceeditwidget.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/slices/vrlsliceeditwidgetmediator.h"
#include "ui/slices/vrlsliceeditwidgetstatusbar.h"
#include "ui/tools/vrlsliceeditwidgetmediatorcreationdelegate.h"
#include "ui/tools/vrlsliceeditwidgetmediatoreditiondelegate.h"
#include "ui/tools/vrlsliceeditwidgetmediatorselectiondelegate.h"
#include "ui/widgets/vorlenapplication.h"

namespace vorlen {

namespace {

constexpr int side = 8192;
constexpr int numItems = 2000;
constexpr int numVertices = 500;

/// The window, its stack and its slice.
class Editor : public QObject {
public:
    Editor() {
        __widget = new VRLSliceEditWidget(&__window);
        auto* const statusBar = static_cast<VRLSliceEditWidgetStatusBar*>(__widget->newStatusBar());
        __widget->setStatusBar(*statusBar);
        __widget->initialize();
        __widget->setImageServer(__server);
        auto* const layout = new QVBoxLayout(&__window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(__widget, 1);
        layout->addWidget(statusBar);
        canvas = &__widget->getCanvas();
        mediator = &__widget->getMediator();
        canvas->installEventFilter(this);
        connect(canvas, &QOpenGLWidget::frameSwapped, canvas, [this] { __seen = __painted; });
        __window.resize(1600, 1000);
        __window.show();
        fill();
        __widget->setSlice(*__slice);
        waitFor([this] { return canvas->getImageProxy().getNumImages() > 4 && __server.getNumRunning() == 0; });
        frames(1);
    }

    ~Editor() override { __widget->clear(); }

    bool eventFilter(QObject*, QEvent* event) override {
        __painted = __painted || event->type() == QEvent::Paint;
        return false;
    }

    VRLSliceEditWidget& widget() { return *__widget; }

    /// Runs the work and what it leads to, until the picture is on the screen. In seconds.
    double timed(const std::function<void()>& work, bool paints = true) {
        QCoreApplication::processEvents();
        __painted = __seen = false;
        QElapsedTimer timer;
        timer.start();
        work();
        if (paints)
            waitFor([this] { return __seen; });
        QCoreApplication::processEvents();
        return double(timer.nsecsElapsed()) * 1e-9;
    }

    void mouse(QEvent::Type type, QPoint at, Qt::MouseButton button, Qt::MouseButtons buttons) {
        QMouseEvent event(type, QPointF(at), canvas->mapToGlobal(QPointF(at)), button, buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(canvas, &event);
    }
    void press(QPoint at) { mouse(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton); }
    void drag(QPoint at) { mouse(QEvent::MouseMove, at, Qt::NoButton, Qt::LeftButton); }
    void release(QPoint at) { mouse(QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton); }

    /// 0 for the whole image.
    void zoomTo(float zoom) {
        if (zoom == 0)
            mediator->bestFitZoomFactor();
        else if (canvas->isBestFitMode())
            canvas->setBestFitMode(false, true);
        if (zoom > 0)
            canvas->setZoomFactor(zoom);
        canvas->setViewCenter(QPoint(side / 2, side / 2));
        frames(2);
    }

    /// Of a vertex, on the canvas.
    QPoint vertexPosition(const ModelItem& item, int i) const {
        const Vector<double>& vertex = item.getVertices()[i];
        return canvas->convertToPosition(QPointF(vertex[0] + 0.5, vertex[1] + 0.5)).toPoint();
    }

    /// The one in the middle of the image.
    ModelItem& middleItem() { return __slice->getItem(23 * 45 + 22); }

    /// A new item of 10,000 vertices in the middle of the image.
    ModelItem& wavyItem() {
        auto* const item = new ModelItem;
        item->setModel(&__stack.getModel(0));
        item->setSlice(__slice);
        item->setVertices(
            closedCurve(10000, side / 2, side / 2, [](double angle) { return 400 + 40 * std::sin(60 * angle); }));
        item->attach();
        return *item;
    }

    /// Runs the command on the selected contour.
    void resample() {
        StackSliceSelectionInfo info;
        info.setSlice(__slice);
        mediator->selectionChange(info);
        for (QAction* action : canvas->actions())
            if (action->text().remove('&') == "Resample")
                action->trigger();
    }

    void frames(int n) {
        for (int i = 0; i < n; ++i)
            timed([this] { canvas->update(); });
    }

    VRLSliceEditWidgetCanvas* canvas;
    VRLSliceEditWidgetMediator* mediator;

private:
    void waitFor(const std::function<bool()>& condition) {
        QElapsedTimer timer;
        timer.start();
        while (!condition()) {
            if (timer.elapsed() > 60000)
                throw std::runtime_error("vorlen-bench-draw: what was waited for did not come in a minute");
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
        }
    }

    void fill() {
        Image image(side, side, 8);
        for (int y = 0; y < side; ++y)
            for (int x = 0; x < side; ++x)
                image.getPixels()[y][x] = static_cast<unsigned char>((x / 32 + y / 48) * 7 + (x * y) / 4096);
        const std::string path = (__folder.path() + "/section.tif").toStdString();
        ImageWriter().write(image, path, true);
        ImageSourceFile source;
        source.setFilename(path);
        __slice = new StackSlice;
        __slice->setImageSource(source);
        __stack.addSlice(__slice);
        const int colors[][3] = {{255, 0, 0}, {0, 200, 0}, {60, 90, 255}, {255, 200, 0}};
        Model* models[4];
        for (int k = 0; k < 4; ++k) {
            models[k] = new Model;
            models[k]->setName("model" + std::to_string(k));
            models[k]->getItemProperties().setColor(colors[k][0], colors[k][1], colors[k][2]);
            models[k]->getItemProperties().setLineWidth(2);
            __stack.addModel(models[k]);
        }
        for (int i = 0; i < numItems; ++i) {
            auto* const item = new ModelItem;
            item->setModel(models[i % 4]);
            item->setSlice(__slice);
            const double x = 100 + (i % 45) * 178;
            const double y = 100 + double(i / 45) * 178;
            item->setVertices(closedCurve(numVertices, x, y, [i](double angle) {
                return 70 + 15 * std::sin(angle * (3 + i % 5)) + 4 * std::sin(31 * angle);
            }));
            item->attach();
        }
    }

    /// Around (x, y), with the radius at each angle.
    static Vertices<double> closedCurve(int size, double x, double y, const std::function<double(double)>& radiusAt) {
        Vertices<double> vertices(2, size, size, 1);
        for (int j = 0; j < size; ++j) {
            const double angle = 6.283185307179586 * j / size;
            const double radius = radiusAt(angle);
            vertices[j] = Vector<double>(2);
            vertices[j][0] = int(x + radius * std::cos(angle));
            vertices[j][1] = int(y + radius * std::sin(angle));
        }
        return vertices;
    }

    QTemporaryDir __folder;
    VRLImageServer __server;
    VRLStack __stack;
    QWidget __window;
    VRLSliceEditWidget* __widget;
    StackSlice* __slice = nullptr;
    bool __painted = false; // the canvas, since the input
    bool __seen = false;    // on the screen too
};

/// Runs the step in a loop, each time from the input to the picture.
void run(benchmark::State& state, Editor& editor, const std::function<void(int)>& step, bool paints = true) {
    int i = 0;
    for ([[maybe_unused]] auto _ : state) {
        state.SetIterationTime(editor.timed([&] { step(i); }, paints));
        ++i;
    }
}

/// Everything new.
void paint(benchmark::State& state, Editor& editor) {
    for ([[maybe_unused]] auto _ : state) {
        editor.timed([&] { editor.widget().setBackgroundMode(); });
        state.SetIterationTime(editor.timed([&] { editor.widget().setAllgroundMode(); }));
    }
}

/// The image without the contours, in the window.
void section(benchmark::State& state, Editor& editor) {
    editor.widget().setBackgroundMode();
    editor.frames(2);
    run(state, editor, [&](int) { editor.canvas->update(); });
    editor.widget().setAllgroundMode();
    editor.frames(1);
}

void contrast(benchmark::State& state, Editor& editor) {
    run(state, editor, [&](int i) { editor.canvas->setBlackAndWhite(0.01f * float(i % 20), 1); });
    editor.canvas->setBlackAndWhite(0, 1);
}

/// What is seen of the image, as it was drawn before there were textures.
void drawPixels(VRLSliceEditWidgetCanvas& canvas) {
    const double zoom = double(canvas.getZoomFactor());
    const QSize size(int(zoom * side), int(zoom * side));
    const Image& image = canvas.getImageProxy().getImage(size - QSize(1, 1));
    const double scale = double(image.getWidth()) / side;
    const QRect view = canvas.currentView();
    glRasterPos2i(0, 0);
    glPixelZoom(float(zoom / scale), float(-zoom / scale));
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, image.getWidth());
    glPixelStorei(GL_UNPACK_SKIP_PIXELS, int(view.x() * scale));
    glPixelStorei(GL_UNPACK_SKIP_ROWS, int(view.y() * scale));
    glDrawPixels(int(view.width() * scale), int(view.height() * scale), GL_LUMINANCE, GL_UNSIGNED_BYTE,
                 image.getData());
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0);
    glPixelStorei(GL_UNPACK_SKIP_ROWS, 0);
}

/// All of the image that is seen, at another place each time.
void repaint(benchmark::State& state, Editor& editor, bool asBefore) {
    VRLSliceEditWidgetCanvas& canvas = *editor.canvas;
    int i = 0;
    for ([[maybe_unused]] auto _ : state) {
        canvas.setViewOrigin(QPoint(3000 + 7 * i, 3000 + 5 * i));
        ++i;
        canvas.makeCurrent();
        glFinish();
        const std::clock_t start = std::clock();
        canvas.beforePaintGL();
        asBefore ? drawPixels(canvas) : canvas.paintImageGL();
        glFinish();
        state.SetIterationTime(double(std::clock() - start) / CLOCKS_PER_SEC);
    }
    canvas.doneCurrent();
}

/// The view moves by some pixels.
void pan(benchmark::State& state, Editor& editor) {
    run(state, editor, [&](int i) { editor.mediator->panTo(QPoint(3000 + 7 * i, 3000 + 5 * i)); });
}

void stroke(benchmark::State& state, Editor& editor) {
    editor.mediator->findChild<VRLSliceEditWidgetMediatorCreationDelegate*>()->activate("model0");
    editor.timed([&] { editor.press(QPoint(400, 400)); });
    run(state, editor, [&](int i) {
        const double angle = 0.2 * (i + 1);
        editor.drag(QPoint(int(400 + (60 + i) * std::sin(angle)), int(340 + (60 + i) * std::cos(angle))));
    });
    editor.mediator->findChild<VRLSliceEditWidgetMediatorCreationDelegate*>()->cancel();
    editor.frames(1);
}

void hover(benchmark::State& state, Editor& editor) {
    run(
        state, editor,
        [&](int i) { editor.mouse(QEvent::MouseMove, QPoint(200 + 5 * i, 300), Qt::NoButton, Qt::NoButton); }, false);
}

/// Clicks that take turns between two contours.
void select(benchmark::State& state, Editor& editor) {
    const QPoint places[] = {editor.vertexPosition(editor.middleItem(), 0),
                             editor.vertexPosition(editor.middleItem(), numVertices / 2)};
    run(state, editor, [&](int i) {
        editor.press(places[i % 2]);
        editor.release(places[i % 2]);
    });
    editor.timed([&] { editor.mediator->findChild<VRLSliceEditWidgetMediatorSelectionDelegate*>()->cancelSelection(); },
                 false);
}

void moveVertex(benchmark::State& state, Editor& editor) {
    ModelItem& item = editor.middleItem();
    item.getSelection().set(true);
    editor.mediator->findChild<VRLSliceEditWidgetMediatorEditionDelegate*>()->activate();
    const QPoint start = editor.vertexPosition(item, 0);
    editor.press(start);
    run(state, editor, [&](int i) { editor.drag(start + QPoint(1 + i % 30, 1 + i % 17)); });
    editor.release(start);
    editor.mediator->findChild<VRLSliceEditWidgetMediatorEditionDelegate*>()->cancel();
    item.getSelection().set(false);
    editor.frames(1);
}

/// Moves of the slider of the resampling tool on a contour of 10,000 vertices, whose marks are all in the view at zoom
/// 1, from the move to the preview.
void preview(benchmark::State& state, Editor& editor) {
    ModelItem& item = editor.wavyItem();
    item.getSelection().set(true);
    QCoreApplication::sendPostedEvents();
    QTimer::singleShot(0, [&] {
        auto* const dialog = static_cast<QDialog*>(QApplication::activeModalWidget());
        auto* const box = dialog->findChild<QSpinBox*>();
        run(state, editor, [box](int i) { box->setValue(9980 - i); });
        dialog->reject();
    });
    editor.resample();
    delete &item;
    editor.frames(1);
}

} // namespace

} // namespace vorlen

int main(int argc, char** argv) {
    using namespace vorlen;
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        std::cerr << "vorlen-bench-draw: skipped, there is no display. Run it with scripts/with-display.\n";
        return 0;
    }
    QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", home.path().toLocal8Bit());
    VorlenApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    Editor editor;
    const struct {
        const char* name;
        void (*work)(benchmark::State&, Editor&);
        int iterations;
        bool compared; // with the reference
    } cases[] = {{"paint", paint, 5, false},   {"section", section, 10, true},        {"contrast", contrast, 5, false},
                 {"pan", pan, 5, false},       {"stroke", stroke, 20, true},          {"hover", hover, 20, false},
                 {"select", select, 10, true}, {"move_vertex", moveVertex, 10, true}, {"preview", preview, 20, false}};
    for (const auto& c : cases)
        for (const float zoom : {0.0f, 1.0f})
            for (const bool keeping : {true, false}) {
                if ((zoom == 0 && c.work == pan) || (!keeping && !c.compared))
                    continue;
                const std::string name = std::string("draw_") + c.name + (zoom == 0 ? "_fit" : "_zoom1") +
                                         (keeping ? "/vorlen" : "/reference");
                benchmark::RegisterBenchmark(name.c_str(),
                                             [&editor, c, zoom, keeping](benchmark::State& state) {
                                                 editor.canvas->setKeepingPicture(keeping);
                                                 editor.zoomTo(zoom);
                                                 c.work(state, editor);
                                             })
                    ->MeasureProcessCPUTime()
                    ->UseManualTime()
                    ->Unit(benchmark::kMillisecond)
                    ->Iterations(c.iterations);
            }
    for (const float zoom : {0.0f, 1.0f})
        for (const bool asBefore : {false, true}) {
            const std::string name =
                std::string("draw_repaint") + (zoom == 0 ? "_fit" : "_zoom1") + (asBefore ? "/reference" : "/vorlen");
            benchmark::RegisterBenchmark(name.c_str(),
                                         [&editor, zoom, asBefore](benchmark::State& state) {
                                             editor.zoomTo(zoom);
                                             repaint(state, editor, asBefore);
                                         })
                ->MeasureProcessCPUTime()
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond)
                ->Iterations(10);
        }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
