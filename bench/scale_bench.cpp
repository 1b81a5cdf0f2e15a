/// What a large stack costs in the main window: 1,000 sections with 500,000 outlines of 40 vertices in 2,000 models,
/// made by formula. From the command to the picture on the screen, in a window of 1600 by 1000; there is no reference
/// but the 5 s and 600 MB within which it is to be opened, and the 100 ms that a hand does not wait.
///
/// Usage: vorlen-bench-scale [options of Google Benchmark]. Needs a display, and says so where there is none. The stack
/// takes 200 MB in the folder for temporary files.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

#include <QAction>
#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>

#include <benchmark/benchmark.h>

#include "document/model.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/operations/modeloperations.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "pauses.h"
#include "processmemory.h"
#include "ui/app/vrlrootmediator.h"
#include "ui/app/vrlrootwindow.h"
#include "ui/app/workspace.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/models/modelpanel.h"
#include "ui/models/modelviews.h"
#include "ui/session/vrlrecovery.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/slices/vrlrootsliceeditwidgetmediator.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/widgets/vorlenapplication.h"

namespace vorlen {

namespace {

constexpr int numSections = 1000, numModels = 2000, numOutlines = 500000, numVertices = 40, side = 1024;

void writeStack(const std::string& folder) {
    Image image(side, side, 8);
    image.clear();
    ImageWriter().write(image, folder + "/i.tif", true);
    std::ofstream file(folder + "/scale.sdf");
    file << "FileFormatVersion 1.03;\nSTACK \"scale\";\nPIXWIDTH 1;\nPIXASPECT 1;\nRELPOSITION 1;\n";
    for (int i = 0; i < numSections; ++i)
        file << "SLICE \"s" << i << "\" \"i.tif\";\nSliceSize1 " << side << ";\nSliceSize2 " << side << ";\n";
    constexpr int perModel = numOutlines / numModels;
    for (int m = 0; m < numModels; ++m) {
        file << "MODEL \"m" << m << "\";\nCOLOR " << m % 256 << ' ' << m * 7 % 256 << ' ' << m * 13 % 256 << ";\n";
        const int x = 30 + m * 37 % 960, y = 30 + m * 91 % 960;
        for (int k = 0; k < perModel; ++k) {
            file << "MODELITEM \"m" << m << "\" \"s" << (m / 2 + k) % numSections << "\";\nMODELITEMDATA\n";
            for (int v = 0; v < numVertices; ++v) {
                const double angle = 2 * std::numbers::pi * v / numVertices;
                file << ' ' << std::lround(x + 20 * std::cos(angle)) << ',' << std::lround(y + 20 * std::sin(angle));
            }
            file << ";\n";
        }
    }
}

/// The window with the stack. Made once, for all cases.
class Scale {
public:
    Scale() : __window(*new VRLRootWindow) {
        __window.resize(1600, 1000);
        __window.activateWindow();
        static_cast<void>(QTest::qWaitForWindowActive(&__window));
    }

    VRLRootMediator& mediator() { return __window.mediator(); }
    VRLStack& stack() { return *mediator().currentStack(); }
    ModelViews& views() { return __window.sliceWidget().getMediator().modelViews(); }
    ModelPanel& panel() { return __window.workspace().models(); }
    VRLSliceEditWidgetCanvas& canvas() { return __window.sliceWidget().VRLSliceEditWidget::getCanvas(); }
    void trigger(const char* id) { mediator().commands().action(id).trigger(); }

    /// Until the slice and its image are seen.
    void open() {
        if (!QFile::exists(__folder.filePath("scale.sdf")))
            writeStack(__folder.path().toStdString());
        Pauses pauses;
        QElapsedTimer timer;
        timer.start();
        load();
        __opened = double(timer.nsecsElapsed()) * 1e-9;
        __pause = pauses.longest();
    }
    /// With the steps that were done before it was saved.
    void reopen() {
        mediator().closeStack();
        load();
        if (!stack().history()->isUndoable())
            throw std::runtime_error("The history did not come back");
    }
    /// How long it took, in seconds; 0 before.
    double opened() const { return __opened; }
    /// The longest pause meanwhile, in milliseconds.
    double pause() const { return __pause; }

    /// All that the window has to do and to paint.
    void settle() {
        QElapsedTimer timer;
        timer.start();
        while (!canvas().getImageProxy().hasImage() && timer.elapsed() < 10000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        for (int i = 0; i < 5; ++i)
            QCoreApplication::processEvents();
    }

    void drawOutline(int i) {
        const int x = 100 + 30 * (i % 20), y = 200 + 15 * (i % 7);
        canvas().setFocus();
        QTest::keyClick(&canvas(), Qt::Key_D);
        for (const QPoint at : {QPoint(x, y), QPoint(x + 60, y), QPoint(x + 60, y + 60)})
            QTest::mouseClick(&canvas(), Qt::LeftButton, {}, at);
        QTest::keyClick(&canvas(), Qt::Key_Return);
    }

private:
    void load() {
        mediator().openStack(__folder.filePath("scale.sdf"));
        while (!canvas().getImageProxy().hasImage())
            QCoreApplication::processEvents();
        settle();
    }

    QTemporaryDir __folder;
    VRLRootWindow& __window; // goes with the process
    double __opened = 0, __pause = 0;
};

void measureOpening(benchmark::State& state, Scale& scale) {
    for (auto step : state) {
        static_cast<void>(step);
        if (scale.opened() == 0)
            scale.open();
        state.SetIterationTime(scale.opened());
    }
    state.counters["pause_ms"] = scale.pause();
    tellMemory(state);
}

void measureSteps(benchmark::State& state, Scale& scale, const std::function<void(int)>& work) {
    if (scale.opened() == 0)
        scale.open();
    double longest = 0;
    Pauses pauses;
    int i = 0;
    for (auto step : state) {
        static_cast<void>(step);
        QElapsedTimer timer;
        timer.start();
        work(i++);
        scale.settle();
        const double seconds = double(timer.nsecsElapsed()) * 1e-9;
        state.SetIterationTime(seconds);
        longest = std::max(longest, seconds);
    }
    state.counters["longest_ms"] = 1000 * longest;
    state.counters["pause_ms"] = pauses.longest();
    tellMemory(state);
}

void measure(const std::string& name, int iterations, Scale& scale, const std::function<void(int)>& work) {
    benchmark::RegisterBenchmark(("scale_" + name + "/vorlen").c_str(),
                                 [&scale, work](benchmark::State& state) { measureSteps(state, scale, work); })
        ->Iterations(iterations)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

void registerCases(Scale& scale) {
    benchmark::RegisterBenchmark("scale_open/vorlen",
                                 [&scale](benchmark::State& state) { measureOpening(state, scale); })
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    measure("page", 20, scale, [&](int) { scale.trigger("slice.next"); });
    measure("ends", 4, scale, [&](int i) { scale.trigger(i % 2 == 0 ? "slice.last" : "slice.first"); });
    measure("current_model", 20, scale,
            [&](int i) { scale.views().setCurrent(scale.stack().getModel(i * 97 % numModels)); });
    measure("hide_model", 10, scale, [&](int i) { scale.views().setHidden(scale.stack().getModel(i), true); });
    measure("filter", 4, scale, [&](int i) { scale.panel().filter().setText(i % 2 == 0 ? "m12" : ""); });
    measure("draw", 10, scale, [&](int i) { scale.drawOutline(i); });
    measure("undo", 5, scale, [&](int) { scale.mediator().undo(); });
    measure("group", 2, scale, [&](int i) {
        std::vector<Model*> models;
        for (int m = 0; m < 100; ++m)
            models.push_back(&scale.stack().getModel(m));
        groupModels(scale.stack(), models, i == 0 ? "group" : "");
    });
    measure("save", 2, scale, [&](int i) {
        renameModel(scale.stack(), scale.stack().getModel(i), "another " + std::to_string(i));
        scale.mediator().saveStack();
    });
    measure("reopen", 1, scale, [&](int) { scale.reopen(); });
}

} // namespace

} // namespace vorlen

int main(int argc, char** argv) {
    if (std::getenv("DISPLAY") == nullptr) {
        std::cerr << "vorlen-bench-scale: skipped, there is no display. Run it with scripts/with-display.\n";
        return 0;
    }
    using namespace vorlen;
    const QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toLocal8Bit());
    VorlenApplication application(argc, argv);
    const VRLRecovery recovery(home.filePath("recovery")); // keeps histories
    benchmark::Initialize(&argc, argv);
    Scale scale;
    registerCases(scale);
    benchmark::RunSpecifiedBenchmarks();
    while (VRLStackServer::stackServer.getNumStacks() > 0)
        VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(0));
    return 0;
}
