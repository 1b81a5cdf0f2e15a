/// Speed of the view in space: a drag of large scenes, and the time from an edit, or from the command that opens the
/// window, to the picture. Needs a display with OpenGL; scripts/with-display gives one that draws without a card.

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>

#include <QMouseEvent>
#include <QSettings>
#include <QTemporaryDir>
#include <QWindow>

#include <GL/gl.h>

#include "editing/bus/vrlmodelitemevent.h"
#include "editing/stacks/vrlstack.h"
#include "inputs.h"
#include "shapes/quadmesh.h"
#include "support/documentmaker.h"
#include "ui/scenes/vrlrenderingmediator.h"
#include "ui/scenes/vrlrenderingwindow.h"
#include "ui/viewer/quadmeshpaintergl.h"
#include "ui/viewer/viewercanvasgl.h"
#include "ui/widgets/vorlenapplication.h"

namespace vorlen {

namespace {

constexpr double pi = 3.14159265358979323846;

/// A rippled globe of about this many triangles, twice as many columns as levels.
QuadMesh<float> globe(int numTriangles) {
    const int height = int(std::lround(std::sqrt(numTriangles / 4.0))) + 1, width = 2 * (height - 1);
    QuadMesh<float> mesh(3, height, width);
    for (int r = 0; r < height; ++r)
        for (int c = 0; c < width; ++c) {
            const double polar = pi * (r + 0.5) / height, phi = 2 * pi * c / width;
            const double radius = 10 + std::sin(9 * phi) * std::sin(7 * polar);
            mesh.level(r)[c][0] = float(radius * std::sin(polar) * std::cos(phi));
            mesh.level(r)[c][1] = float(radius * std::sin(polar) * std::sin(phi));
            mesh.level(r)[c][2] = float(radius * std::cos(polar));
        }
    return mesh;
}

ShapePainterAttributesGL surfaceAttributes() {
    ShapePainterAttributesGL attributes;
    attributes.setDisplayMode(SurfaceDisplayGL);
    Vector<int> color(3);
    color.fill(180);
    attributes.setColor(color);
    return attributes;
}

/// The same surface as the plainest program draws it, a call for each vertex.
class PlainPainter : public PainterGL<float> {
public:
    PlainPainter(const QuadMesh<float>& mesh, const QuadMesh<float>& normals) : __mesh(mesh), __normals(normals) {}
    BoundingBox<float> boundingBox() const override { return __mesh.boundingBox(); }
    void glDraw() const override {
        glColor4ub(180, 180, 180, 255);
        for (int r = 0; r + 1 < __mesh.getHeight(); ++r) {
            glBegin(GL_TRIANGLE_STRIP);
            for (int c = 0; c <= __mesh.getWidth(); ++c)
                for (int level : {r, r + 1}) {
                    const int column = c % __mesh.getWidth();
                    glNormal3fv(__normals.level(level)[column].data());
                    glVertex3fv(__mesh.level(level)[column].data());
                }
            glEnd();
        }
    }

private:
    const QuadMesh<float>& __mesh;
    const QuadMesh<float>& __normals;
};

void waitUntilShown(QWidget& widget) {
    for (int k = 0; k < 200 && !(widget.windowHandle() != nullptr && widget.windowHandle()->isExposed()); ++k)
        QApplication::processEvents(QEventLoop::AllEvents, 10);
    QApplication::processEvents();
}

/// One mouse event of a drag after the other, each with its picture.
template <bool plain>
void drag(benchmark::State& state) {
    const QuadMesh<float> mesh = globe(int(state.range(0)));
    QuadMeshPainterGL<float> painter;
    painter.setShape(mesh);
    painter.setAttributes(surfaceAttributes());
    PlainPainter plainPainter(mesh, painter.getNormals());
    ViewerCanvasGL canvas;
    canvas.resize(1000, 800);
    canvas.addPainter(plain ? static_cast<PainterGL<float>&>(plainPainter) : painter);
    canvas.show();
    waitUntilShown(canvas);
    canvas.repaint();
    int x = 0;
    const auto mouse = [&canvas, &x](QEvent::Type type) {
        QMouseEvent event(type, QPointF(x, 400), canvas.mapToGlobal(QPointF(x, 400)), Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        QApplication::sendEvent(&canvas, &event);
        QApplication::processEvents(); // a picture may have to wait for the display to take the one before
        x = (x + 4) % 1000;
    };
    mouse(QEvent::MouseButtonPress);
    for (int k = 0; k < 3; ++k)
        mouse(QEvent::MouseMove);
    for (auto _ : state)
        mouse(QEvent::MouseMove);
    mouse(QEvent::MouseButtonRelease);
    state.counters["fps"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["triangles"] = 2.0 * (mesh.getHeight() - 1) * mesh.getWidth();
}

/// Models of 200 contours of 1000 vertices each, side by side.
std::unique_ptr<VRLStack> largeStack(int numModels) {
    auto stack = std::make_unique<VRLStack>();
    stack->setName("large");
    stack->setDefaultSliceSpacing(4);
    addSlices(*stack, 200);
    for (int m = 0; m < numModels; ++m) {
        Model& model = addModel(*stack, "model " + std::to_string(m));
        model.getProperties().setBeginCapFlag(true);
        model.getProperties().setEndCapFlag(true);
        model.getItemProperties().setColor(60 + 40 * m, 120, 200 - 30 * m);
        for (int k = 0; k < 200; ++k) {
            std::vector<std::pair<int, int>> points;
            const double size = 250 * std::sin(pi * (k + 1) / 202);
            for (int v = 0; v < 1000; ++v) {
                const double phi = 2 * pi * v / 1000, r = size * (1 + 0.1 * std::sin(11 * phi));
                points.emplace_back(int(700 * (m % 3) + r * std::cos(phi)), int(700 * (m / 3) + r * std::sin(phi)));
            }
            addItem(model, stack->getSlice(k), points);
        }
    }
    stack->updateReconstruction();
    return stack;
}

/// From the event that a vertex has moved to the new picture.
void edit(benchmark::State& state) {
    const std::unique_ptr<VRLStack> stack = largeStack(6);
    VRLRenderingWindow window;
    window.setAttribute(Qt::WA_DeleteOnClose, false);
    window.setStack(*stack);
    window.show();
    waitUntilShown(window);
    ModelItem& item = stack->getModel(2).getItem(100);
    VRLEventClient sender;
    int step = 0;
    for (auto _ : state) {
        item.moveVertex(500, point(700 * 2 - 250 - ++step % 50, 0));
        VRLModelItemVertexEvent event(&item);
        sender.notifyEvent(event);
        glFinish();
    }
}

/// From the command that opens the window to its first picture.
void reconstruct(benchmark::State& state) {
    const std::unique_ptr<VRLStack> stack = largeStack(int(state.range(0)));
    for (auto _ : state) {
        auto window = std::make_unique<VRLRenderingWindow>();
        stack->updateReconstruction();
        window->setStack(*stack);
        window->show();
        waitUntilShown(*window);
        state.PauseTiming();
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        window.reset();
        state.ResumeTiming();
    }
}

} // namespace

BENCHMARK(drag<false>)
    ->Name("viewDrag/vorlen")
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();
BENCHMARK(drag<true>)
    ->Name("viewDrag/reference")
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();
BENCHMARK(edit)->Name("viewEdit/vorlen")->Unit(benchmark::kMillisecond)->UseRealTime()->MeasureProcessCPUTime();
BENCHMARK(reconstruct)
    ->Name("viewReconstruct/vorlen")
    ->Arg(1)
    ->Arg(6)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime();

} // namespace vorlen

int main(int argc, char** argv) {
    using namespace vorlen;
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        std::puts("vorlen-bench-view: there is no display: nothing measured");
        return 0;
    }
    const QTemporaryDir home; // the user's settings are neither read nor changed
    qputenv("XDG_CONFIG_HOME", home.path().toLocal8Bit());
    benchmark::Initialize(&argc, argv);
    VorlenApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
