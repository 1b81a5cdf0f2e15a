/// A section larger than memory in the main window: 100,000 by 80,000 pixels in tiles of 512, with three smaller copies
/// of a fourth each, made by formula. From the command to the picture on the screen, in a window of 1600 by 1000. There
/// is no reference but the second and the 500 MB within which the first picture is to come, and the 50 ms that a frame
/// may take while tiles arrive: "longest_ms" is the longest that the window was away from its events, "longest_cpu_ms"
/// the most that its thread worked between two.
///
/// Usage: vorlen-bench-section [options of Google Benchmark]. Needs a display, and says so where there is none.

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <string>

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>
#include <QWheelEvent>

#include <benchmark/benchmark.h>

#include "editing/stacks/vrlstackserver.h"
#include "pauses.h"
#include "processmemory.h"
#include "support/sharedtiles.h"
#include "ui/app/vrlrootmediator.h"
#include "ui/app/vrlrootwindow.h"
#include "ui/imageserver/vrlimageproxy.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/slices/vrlrootsliceeditwidgetmediator.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/widgets/vorlenapplication.h"

namespace vorlen {

namespace {

constexpr int width = 100000, height = 80000;

/// The window with the section. Made once, for all cases.
class Section {
public:
    Section() : __window(*new VRLRootWindow) {
        SharedTiles::write(__folder, "section.tif", width, height, 4);
        __stack = QString::fromStdString(
            __folder.write("section.sdf", "FileFormatVersion 1.03;\nSTACK \"section\";\nPIXWIDTH 0.25;\nPIXASPECT 1;\n"
                                          "SLICE \"s\" \"section.tif\";\nSliceSize1 80000;\nSliceSize2 100000;\n"));
        __window.resize(1600, 1000);
        __window.show();
        __window.activateWindow();
        static_cast<void>(QTest::qWaitForWindowActive(&__window));
    }

    VRLSliceEditWidgetCanvas& canvas() { return __window.sliceWidget().VRLSliceEditWidget::getCanvas(); }

    /// Until a picture of the section is seen. Once.
    void open() {
        if (__opened > 0)
            return;
        bool seen = false;
        const auto connection = QObject::connect(&canvas(), &QOpenGLWidget::frameSwapped,
                                                 [&] { seen = canvas().getImageProxy().hasImage(); });
        QElapsedTimer timer;
        timer.start();
        __window.mediator().openStack(__stack);
        while (!seen && timer.elapsed() < 60000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
        QObject::disconnect(connection);
        __opened = double(timer.nsecsElapsed()) * 1e-9;
    }
    double opened() const { return __opened; }

    /// Runs the step and 150 ms of events after it, in which tiles arrive.
    void timed(const std::function<void()>& step) {
        Pauses pauses;
        measure(step);
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < 150)
            measure([] { QCoreApplication::processEvents(); });
        longestCpu = std::max(longestCpu, pauses.longest());
    }

    void wheel(int steps, Qt::KeyboardModifiers modifiers) {
        const QPointF at(canvas().width() / 3, canvas().height() / 3);
        QWheelEvent event(at, canvas().mapToGlobal(at), QPoint(), QPoint(0, 120 * steps), Qt::NoButton, modifiers,
                          Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&canvas(), &event);
    }

    double longest = 0;    // seconds away from events
    double longestCpu = 0; // milliseconds of work of the thread

private:
    void measure(const std::function<void()>& work) {
        QElapsedTimer timer;
        timer.start();
        work();
        longest = std::max(longest, double(timer.nsecsElapsed()) * 1e-9);
    }

    TemporaryFolder __folder;
    QString __stack;
    VRLRootWindow& __window; // goes with the process
    double __opened = 0;
};

void measureOpening(benchmark::State& state, Section& section) {
    for (auto step : state) {
        static_cast<void>(step);
        section.open();
        state.SetIterationTime(section.opened());
    }
    tellMemory(state);
}

void measureSteps(benchmark::State& state, Section& section, const std::function<void(int)>& work) {
    section.open();
    QTest::qWait(500); // what opening leaves for later
    section.longest = section.longestCpu = 0;
    int i = 0;
    for (auto step : state) {
        static_cast<void>(step);
        QElapsedTimer timer;
        timer.start();
        section.timed([&] { work(i); });
        state.SetIterationTime(double(timer.nsecsElapsed()) * 1e-9);
        ++i;
    }
    state.counters["longest_ms"] = 1000 * section.longest;
    state.counters["longest_cpu_ms"] = section.longestCpu;
    tellMemory(state);
}

void measure(const std::string& name, int iterations, Section& section, const std::function<void(int)>& work) {
    benchmark::RegisterBenchmark(("section_" + name + "/vorlen").c_str(),
                                 [&section, work](benchmark::State& state) { measureSteps(state, section, work); })
        ->Iterations(iterations)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

void registerCases(Section& section) {
    benchmark::RegisterBenchmark("section_open/vorlen",
                                 [&section](benchmark::State& state) { measureOpening(state, section); })
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    measure("zoom_in", 40, section, [&](int) { section.wheel(1, Qt::ControlModifier); });
    measure("pan", 60, section,
            [&](int i) { section.wheel(i % 20 < 10 ? -3 : 3, i % 3 == 0 ? Qt::ShiftModifier : Qt::NoModifier); });
    measure("zoom_out", 40, section, [&](int) { section.wheel(-1, Qt::ControlModifier); });
}

} // namespace

} // namespace vorlen

int main(int argc, char** argv) {
    if (std::getenv("DISPLAY") == nullptr) {
        std::cerr << "vorlen-bench-section: skipped, there is no display. Run it with scripts/with-display.\n";
        return 0;
    }
    using namespace vorlen;
    const QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toLocal8Bit());
    qputenv("XDG_CACHE_HOME", home.path().toLocal8Bit());
    VorlenApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    Section section;
    registerCases(section);
    benchmark::RunSpecifiedBenchmarks();
    while (VRLStackServer::stackServer.getNumStacks() > 0)
        VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(0));
    return 0;
}
