/// Draws a picture of a window with a stack in it. Usage: vorlen-picture WINDOW STACK.sdf PICTURE.png [dark], where
/// WINDOW is main, panes (slice, cuts and 3D view side by side, with the crosshair), groups (the models in groups),
/// shortcuts (the list of keys), guide, panorama, rendering (in the stack's last pose), video (the question what is to
/// be recorded), analysis (its table of models), distances (of the second model from the others), spots (the choice of
/// the threshold), or registration, registration-cuts and registration-landmarks (on the slice in the middle).
///
/// It needs a display; scripts/with-display gives it one of its own. Settings of the user are neither read nor changed.

#include <iostream>

#include <QComboBox>
#include <QElapsedTimer>
#include <QImage>
#include <QPalette>
#include <QSettings>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>

#include "document/pose.h"
#include "editing/operations/modeloperations.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "ui/analysis/vrlanalysiswindow.h"
#include "ui/app/guidewindow.h"
#include "ui/app/vrlrootmediator.h"
#include "ui/app/vrlrootwindow.h"
#include "ui/app/workspace.h"
#include "ui/commands/shortcutsdialog.h"
#include "ui/registration/sectionmarks.h"
#include "ui/registration/vrlregistrationmediator.h"
#include "ui/registration/vrlregistrationwindow.h"
#include "ui/scenes/scenepanel.h"
#include "ui/scenes/vrlrenderingmediator.h"
#include "ui/scenes/vrlrenderingwindow.h"
#include "ui/slices/vrlrootsliceeditwidget.h"
#include "ui/spots/vrlspotextractionconfigdialog.h"
#include "ui/spots/vrlspotthresholddialog.h"
#include "ui/viewer/vrlcreatevideodialog.h"
#include "ui/widgets/vorlenapplication.h"

namespace vorlen {

namespace {

/// Lets the program go on for a while: images load on threads of their own.
void wait(int milliseconds) {
    QElapsedTimer timer;
    for (timer.start(); timer.elapsed() < milliseconds; QThread::msleep(5))
        QApplication::processEvents();
}

/// The open window of a class; null when there is none.
template <class Window>
Window* opened() {
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* window = qobject_cast<Window*>(widget))
            return window;
    return nullptr;
}

/// Pairs of spots as a hand clicks them on a slice that lies as it should, the last one wrong, and the fit.
void setLandmarks(VRLRegistrationWindow& window) {
    const VRLRegistrationCanvas& canvas = window.getCanvas();
    const QPointF middle = canvas.rect().center();
    const QPointF spots[] = {{-150, -110}, {130, -80}, {90, 120}, {-120, 90}, {20, -10}}; // of the picture
    const QPointF slips[] = {{1, 0}, {-1, 1}, {0, -2}, {1, 1}, {45, 30}};
    window.getMediator().setLandmarkMode(true);
    for (std::size_t i = 0; i < std::size(spots); ++i) {
        emit window.getCanvas().landmarkClicked(middle + spots[i]);
        emit window.getCanvas().landmarkClicked(middle + spots[i] + slips[i]);
    }
    window.getMediator().fitLandmarks();
}

QWidget* prepareRegistration(const QString& name, VRLRootWindow& root) {
    VRLStack& stack = *root.mediator().currentStack();
    root.mediator().setSlice(stack.getSlice(stack.getNumSlices() / 2));
    QSettings().setValue("registrationWindow/size", QSize(1200, 960));
    root.mediator().registerCurrentStack();
    auto* window = opened<VRLRegistrationWindow>();
    window->commands().action("view.frames").trigger();
    if (name == "registration-cuts")
        window->commands().action("view.strips").trigger();
    if (name == "registration-landmarks")
        setLandmarks(*window);
    for (int i = 0; i < 200 && !SectionMarks::of(stack).withoutScore().empty(); ++i)
        wait(100);
    return window;
}

/// The search runs with the settings that are proposed; the picture is of the question for the threshold.
QImage pictureOfSpots(VRLRootWindow& root) {
    QImage image;
    QTimer clock;
    bool isReading = false;
    QObject::connect(&clock, &QTimer::timeout, [&] {
        QWidget* const dialog = QApplication::activeModalWidget();
        if (auto* const question = qobject_cast<VRLSpotExtractionConfigDialog*>(dialog); question && !isReading) {
            isReading = true;
            question->accept();
        } else if (auto* const threshold = qobject_cast<VRLSpotThresholdDialog*>(dialog)) {
            clock.stop();
            wait(1500); // the search for the spots runs beside it
            image = threshold->grab().toImage();
            threshold->reject();
        }
    });
    clock.start(50);
    root.mediator().runSpotExtraction();
    return image;
}

QWidget* prepareVideo(VRLRootWindow& root) {
    root.mediator().renderCurrentStack();
    opened<VRLRenderingWindow>()->getMediator().videoStart();
    return opened<VRLCreateVideoDialog>();
}

/// The crosshair stands in the middle of the slice in the middle.
QWidget* preparePanes(VRLRootWindow& root) {
    root.resize(1400, 1000);
    VRLStack& stack = *root.mediator().currentStack();
    root.mediator().setSlice(stack.getSlice(stack.getNumSlices() / 2));
    root.mediator().commands().action("show.panes").trigger();
    wait(500);
    root.mediator().commands().action("view.crosshair").trigger();
    root.workspace().scene().mediator().fit();
    return &root;
}

/// The first two models in one group, the others in another.
void groupModelsByName(VRLStack& stack) {
    std::vector<Model*> first, others;
    for (int i = 0; i < stack.getNumModels(); ++i)
        (i < 2 ? first : others).push_back(&stack.getModel(i));
    groupModels(stack, first, "Cell");
    groupModels(stack, others, "Around it");
}

/// The window that the picture is of, opened by its command; null when there is none of this name.
QWidget* prepare(const QString& name, VRLRootWindow& root) {
    root.resize(1200, 800);
    if (name == "main")
        return &root;
    if (name == "panes")
        return preparePanes(root);
    if (name == "groups") {
        groupModelsByName(*root.mediator().currentStack());
        return &root;
    }
    if (name == "guide")
        return &GuideWindow::open("guide.md");
    if (name == "shortcuts") {
        root.showShortcuts();
        opened<ShortcutsDialog>()->resize(760, 560);
        return opened<ShortcutsDialog>();
    }
    if (name == "panorama") {
        root.mediator().showPanorama();
        return &root;
    }
    if (name == "video")
        return prepareVideo(root);
    if (name == "rendering") {
        root.mediator().renderCurrentStack();
        auto* window = opened<VRLRenderingWindow>();
        window->resize(1200, 800);
        const VRLStack& stack = *window->getMediator().getStack();
        if (stack.getNumPoses() > 0)
            window->getMediator().setPose(stack.getPose(stack.getNumPoses() - 1));
        return window;
    }
    if (name.startsWith("registration"))
        return prepareRegistration(name, root);
    if (name == "analysis" || name == "distances") {
        root.mediator().runAnalysis();
        auto* window = opened<VRLAnalysisWindow>();
        window->resize(900, 330);
        auto* const tabs = window->findChild<QTabWidget*>();
        tabs->setCurrentIndex(2);
        if (name == "distances") {
            auto* const geometries = tabs->currentWidget()->findChild<QTabWidget*>();
            geometries->setCurrentIndex(geometries->count() - 1);
            wait(200); // the choice of models is made when it is shown
            geometries->currentWidget()->findChild<QComboBox*>("distances.model")->setCurrentIndex(1);
        }
        return window;
    }
    return nullptr;
}

/// As a desktop with a dark theme gives it.
void takeDarkPalette() {
    QPalette palette(QColor(53, 53, 53));
    palette.setColor(QPalette::Base, QColor(35, 35, 35));
    palette.setColor(QPalette::AlternateBase, QColor(45, 45, 45));
    palette.setColor(QPalette::Highlight, QColor(42, 130, 218));
    palette.setColor(QPalette::Link, QColor(100, 170, 255));
    palette.setColor(QPalette::ToolTipBase, QColor(70, 70, 60));
    palette.setColor(QPalette::ToolTipText, Qt::white);
    QApplication::setPalette(palette);
}

int draw(const QString& name, const QString& stack, const QString& picture) {
    auto* root = new VRLRootWindow;
    root->mediator().openStack(stack);
    if (root->mediator().currentStack() == nullptr) {
        std::cerr << "Cannot open " << stack.toStdString() << '\n';
        return 3;
    }
    QImage image;
    if (name == "spots") {
        root->resize(1200, 800);
        image = pictureOfSpots(*root);
    } else if (QWidget* const window = prepare(name, *root)) {
        wait(1500);
        image = window->grab().toImage();
    }
    if (image.isNull()) {
        std::cerr << "There is no window " << name.toStdString() << '\n';
        return 2;
    }
    image.convertTo(QImage::Format_RGB32);
    while (VRLStackServer::stackServer.getNumStacks() > 0)
        VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(0));
    delete root;
    if (image.save(picture))
        return 0;
    std::cerr << "Cannot write " << picture.toStdString() << '\n';
    return 3;
}

} // namespace

} // namespace vorlen

int main(int argc, char** argv) {
    using namespace vorlen;
    const QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toLocal8Bit());
    VorlenApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() == 5 && arguments[4] == "dark")
        takeDarkPalette();
    else if (arguments.size() != 4) {
        std::cerr << "Usage: vorlen-picture WINDOW STACK.sdf PICTURE.png [dark]\n";
        return 2;
    }
    return draw(arguments[1], arguments[2], arguments[3]);
}
