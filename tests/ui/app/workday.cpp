/// A day at work with the main window, for one that kills it: draws, edits, changes slices and models, undoes and saves
/// without end, by mouse, keys and commands. Arguments: the folder with "work.sdf" and its images, and a number by
/// which the day goes. Tells in lines "ready", and of each step "begin HASHES" before it is kept and "done HASHES" when
/// it is, with the hash of the document as it stands and as a file gives it back.

#include <cstdio>
#include <cstdlib>
#include <random>

#include <QTest>

#include "document/model.h"
#include "document/modelitem.h"
#include "editing/bus/vrleventclient.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/operations/modeloperations.h"
#include "editing/operations/sliceoperations.h"
#include "editing/stacks/vrlstack.h"
#include "numerics/exception.h"
#include "support/commands.h"
#include "support/documenthash.h"
#include "ui/app/vrlrootmediator.h"
#include "ui/app/vrlrootwindow.h"
#include "ui/session/vrlpreferences.h"
#include "ui/session/vrlrecovery.h"
#include "ui/session/vrlsettings.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/slices/vrlrootsliceeditwidgetmediator.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/tools/vrlsliceeditwidgetmediatorcreationdelegate.h"
#include "ui/widgets/vorlenapplication.h"

namespace vorlen {

namespace {

void tell(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

std::string hashesOf(const Stack& stack) {
    return hashOf(stack) + ' ' + hashAsRead(stack);
}

/// Hears of a stack ahead of what keeps its steps, and so of each step before it is kept.
class Announcer : public QObject, public VRLEventClient {
public:
    void stackOpenEvent(VRLStackOpenEvent& event) override {
        VRLStack* const stack = event.getStack();
        connect(stack->history(), &VRLActionHistory::recorded, this, [stack] { tell("begin " + hashesOf(*stack)); });
    }
};

/// Hears of it behind them.
class Reporter : public QObject, public VRLEventClient {
public:
    explicit Reporter(VRLRecovery& recovery) : __recovery(recovery) {}

    void stackOpenEvent(VRLStackOpenEvent& event) override {
        VRLStack* const stack = event.getStack();
        connect(stack->history(), &VRLActionHistory::recorded, this, [this, stack] {
            if (!std::exchange(__begun, true))
                __recovery.waitForWrites(); // for the copy of the file that the journal begins with
            tell("done " + hashesOf(*stack));
        });
    }

private:
    VRLRecovery& __recovery;
    bool __begun = false;
};

/// Who works.
class Worker {
public:
    Worker(VRLRootWindow& window, const std::string& folder, unsigned int day)
        : __window(window), __folder(folder), __random(day) {}

    void work() {
        switch (below(10)) {
        case 0:
        case 1:
        case 2:
            return draw(below(6) == 0);
        case 3:
            return editSelected();
        case 4:
            return moveVertex();
        case 5:
            return command({"slice.next", "slice.previous", "slice.first", "slice.last"});
        case 6:
            return command({"edit.undo", "edit.undo", "edit.redo"});
        case 7:
            return editSlices();
        case 8:
            return editModels();
        default:
            return command({"stack.save"});
        }
    }

    bool hasImage() {
        auto& tool = creation();
        tool.activate("cell");
        if (!tool.isActive())
            return false;
        tool.appendVertex(place());
        const bool has = tool.getItem()->getSize() > 0;
        tool.abandon();
        return has;
    }

private:
    int below(int n) { return static_cast<int>(__random() % static_cast<unsigned int>(n)); }
    VRLStack& stack() { return *__window.mediator().currentStack(); }
    VRLSliceEditWidgetCanvas& canvas() { return __window.sliceWidget().getCanvas(); }
    VRLSliceEditWidgetMediatorCreationDelegate& creation() {
        return *__window.sliceWidget().getMediator().findChild<VRLSliceEditWidgetMediatorCreationDelegate*>();
    }
    QPoint place() {
        const QPoint middle = canvas().rect().center();
        return middle + QPoint(below(80) - 40, below(60) - 30);
    }
    std::string anyModel() { return stack().getModel(below(stack().getNumModels())).getName(); }

    void command(const std::vector<const char*>& ids) {
        trigger(__window.mediator().commands(), ids[static_cast<std::size_t>(below(static_cast<int>(ids.size())))]);
    }

    void draw(bool givesUp) {
        if (__window.mediator().currentSlice() == nullptr)
            return;
        if (creation().isActive()) // an undo has brought a drawing back
            creation().abandon();
        creation().activate(QString::fromStdString(anyModel()));
        for (int i = 0; creation().isActive() && i < 3 + below(4); ++i)
            QTest::mouseClick(&canvas(), Qt::LeftButton, {}, place());
        const bool enough = creation().isActive() && creation().getItem()->getSize() > 3;
        if (givesUp || !enough) {
            QTest::mouseClick(&canvas(), Qt::RightButton, {}, place());
            if (!enough || below(2) == 0)
                return;
            trigger(__window.mediator().commands(), "edit.undo");
        }
        QTest::keyClick(&canvas(), Qt::Key_Return);
    }

    void editSelected() {
        auto& commands = __window.sliceWidget().getMediator().commands();
        trigger(commands, "select.all");
        QCoreApplication::processEvents();
        trigger(commands, below(4) == 0 ? "delete" : "edit.decimate");
        QTest::keyClick(&canvas(), Qt::Key_Escape);
    }

    void moveVertex() {
        auto& mediator = __window.sliceWidget().getMediator();
        StackSlice* const slice = __window.mediator().currentSlice();
        if (slice == nullptr || slice->getNumItems() == 0)
            return;
        slice->getItem(below(slice->getNumItems())).getSelection().set(true);
        mediator.updateSelection();
        trigger(mediator.commands(), "edit.points");
        const QPoint from = place(), to = place();
        QTest::mousePress(&canvas(), Qt::LeftButton, {}, from);
        QTest::mouseMove(&canvas(), to);
        QTest::mouseRelease(&canvas(), Qt::LeftButton, {}, to);
        QTest::keyClick(&canvas(), Qt::Key_Escape);
        QTest::keyClick(&canvas(), Qt::Key_Escape);
    }

    void editSlices() {
        if (stack().getNumSlices() > 6) {
            command({"slice.delete"});
        } else if (below(2) == 0) {
            std::vector<UnreadableImage> unreadable;
            insertSlices(stack(), below(stack().getNumSlices() + 1),
                         makeImageSlices({__folder + "/i.tif"}, unreadable));
        } else if (StackSlice* const slice = __window.mediator().currentSlice()) {
            SliceChange change;
            change.spacing = static_cast<float>(1 + below(9));
            change.annotation = "note " + std::to_string(below(1000));
            changeSlice(stack(), *slice, change);
        }
    }

    void editModels() {
        ModelChange change;
        change.name = "m" + std::to_string(below(1000));
        change.properties.setGeometry(PolygonPrimitive);
        if (stack().getNumModels() < 4) {
            createModel(stack(), change);
        } else if (below(2) == 0) {
            deleteModels(stack(), {&stack().getModel(1 + below(stack().getNumModels() - 1))});
        } else {
            change.name.reset();
            change.itemProperties.setLineWidth(static_cast<float>(1 + below(5)));
            changeModels(stack(), {&stack().getModel(below(stack().getNumModels()))}, change);
        }
    }

    VRLRootWindow& __window;
    std::string __folder;
    std::mt19937 __random;
};

int work(const std::string& folder, unsigned int day) {
    Announcer announcer;
    VRLRecovery recovery;
    Reporter reporter(recovery);
    recovery.tidy();
    recovery.start();
    auto* window = new VRLRootWindow; // deletes itself when it is closed
    window->resize(700, 500);
    window->startupOpenStack(folder + "/work.sdf");
    if (!QTest::qWaitForWindowExposed(window) || window->mediator().currentStack() == nullptr)
        return 2;
    Worker worker(*window, folder, day);
    if (!QTest::qWaitFor([&] { return worker.hasImage(); }, 20000))
        return 3;
    tell("ready");
    while (true) {
        worker.work();
        QCoreApplication::processEvents();
    }
}

} // namespace

} // namespace vorlen

int main(int argc, char** argv) {
    using namespace vorlen;
    VorlenApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    VRLSettings::settings.load();
    VRLPreferences::load();
    if (argc != 3)
        return 1;
    try {
        return work(argv[1], static_cast<unsigned int>(std::atoi(argv[2])));
    } catch (const Exception& error) {
        std::fprintf(stderr, "%s: %s\n", error.getWhere().c_str(), error.getWhat().c_str());
        return 4;
    }
}
