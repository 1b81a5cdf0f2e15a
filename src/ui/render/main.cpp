/// Draws the scene of a stack as the rendering window shows it, or makes a video of it. `vorlen-cli render` runs this
/// program, after it has looked at the command line.
/// Usage: vorlen-render STACK.sdf FILE WIDTH HEIGHT [POSE [MOTION RATE SECONDS]]
/// An empty POSE is none; MOTION is spin, random, animation, poses or slices. VORLEN_THREADS in the environment is the
/// number of threads, without it that of the processors.
///
/// What can be refused without a display is refused before one is looked for.

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>

#include <QFile>
#include <QStringList>

#include "cli/consolemonitor.h"
#include "cli/interruption.h"
#include "cli/stackfile.h"
#include "document/model.h"
#include "document/pose.h"
#include "editing/stacks/vrlstack.h"
#include "images/filters/parallelwork.h"
#include "numerics/exception.h"
#include "progress/progresssubject.h"
#include "ui/scenes/vrlrenderingmediator.h"
#include "ui/viewer/videorecorder.h"
#include "ui/viewer/viewercanvasgl.h"
#include "ui/widgets/vorlenapplication.h"

namespace vorlen {

namespace {

int complain(const std::string& message, ExitStatus status) {
    std::cerr << "vorlen-cli: " << message << '\n';
    return status;
}

bool hasItems(const Stack& stack) {
    for (int m = 0; m < stack.getNumModels(); ++m)
        if (stack.getModel(m).getNumItems() > 0)
            return true;
    return false;
}

/// Null when there is none of this name.
const Pose* findPose(const Stack& stack, const std::string& name) {
    for (int k = 0; k < stack.getNumPoses(); ++k)
        if (stack.getPose(k).getName() == name)
            return &stack.getPose(k);
    return nullptr;
}

std::string poseNames(const Stack& stack) {
    std::string names;
    for (int k = 0; k < stack.getNumPoses(); ++k)
        names += (k == 0 ? "" : ", ") + stack.getPose(k).getName();
    return names.empty() ? "the stack has no poses" : "the stack's poses are: " + names;
}

struct Wishes {
    QString file;
    QSize size;
    const Pose* pose = nullptr;
    bool isVideo = false;
    VideoPath path = VideoPath::Spinning;
    int rate = 25, seconds = 10;
};

int drawVideo(ViewerCanvasGL& canvas, VRLRenderingMediator& mediator, const Wishes& wishes) {
    VideoRecorder recorder;
    Interruption interruption; // which would leave half a video behind
    try {
        recorder.start(canvas, mediator.makeScript(wishes.path, wishes.rate * wishes.seconds, wishes.rate), wishes.file,
                       wishes.size, wishes.rate);
        ConsoleMonitor terminal;
        ProgressSubject progress;
        progress.addMonitor(terminal);
        progress.notifyStarted("Recording...");
        bool isWhole = false;
        while (!isWhole && !interruption.hasCome()) {
            isWhole = recorder.step();
            progress.notifyProgressed(static_cast<unsigned int>(recorder.getNumFrames()),
                                      static_cast<unsigned int>(recorder.getTotal()));
        }
        progress.notifyFinished("");
        if (!isWhole) {
            recorder.cancel();
            return complain("stopped: no video was written", ExitFileError);
        }
    } catch (const FileWriteError& error) {
        return complain("cannot write " + wishes.file.toStdString() + ": " + error.getWhat(), ExitFileError);
    }
    std::cout << wishes.file.toStdString() << ": " << recorder.getNumFrames() << " frames\n";
    return ExitGood;
}

int draw(VRLStack& stack, const Wishes& wishes) {
    ViewerCanvasGL canvas;
    canvas.setAttribute(Qt::WA_DontShowOnScreen);
    VRLRenderingMediator mediator;
    mediator.setCanvas(&canvas);
    mediator.initialize();
    stack.updateReconstruction();
    mediator.setStack(stack);
    canvas.resize(wishes.size / canvas.devicePixelRatioF());
    mediator.setPose(wishes.pose != nullptr ? *wishes.pose : canvas.fittingPose());
    canvas.show();
    int status = ExitGood;
    if (canvas.grabFramebuffer().isNull() || !canvas.isValid())
        status = complain("the display has no OpenGL that could draw the picture", ExitFileError);
    else if (wishes.isVideo)
        status = drawVideo(canvas, mediator, wishes);
    else if (QString reason; !canvas.saveSnapshot(wishes.file, &reason))
        status = complain("cannot write " + wishes.file.toStdString() + ": " + reason.toStdString(), ExitFileError);
    else
        std::cout << wishes.file.toStdString() << '\n';
    mediator.clear();
    mediator.setCanvas(nullptr);
    return status;
}

/// What is said on the command line, but for the pose. False for an unknown motion.
bool readWishes(int argc, char** argv, Wishes& wishes) {
    wishes.file = QFile::decodeName(argv[2]);
    wishes.size = QSize(std::atoi(argv[3]), std::atoi(argv[4]));
    wishes.isVideo = argc == 9;
    if (!wishes.isVideo)
        return true;
    static const QStringList motions = {"spin", "random", "animation", "poses", "slices"};
    const qsizetype motion = motions.indexOf(argv[6]);
    wishes.path = VideoPath(std::max(qsizetype(0), motion));
    wishes.rate = std::max(1, std::atoi(argv[7]));
    wishes.seconds = std::max(1, std::atoi(argv[8]));
    return motion >= 0;
}

int run(int argc, char** argv) {
    Wishes wishes;
    if ((argc != 5 && argc != 6 && argc != 9) || !readWishes(argc, argv, wishes)) {
        std::cerr << "Usage: vorlen-render STACK.sdf FILE WIDTH HEIGHT [POSE [MOTION RATE SECONDS]]\n"
                     "Use 'vorlen-cli render', which runs this program.\n";
        return ExitUsage;
    }
    if (const int threads = qEnvironmentVariableIntValue("VORLEN_THREADS"); threads > 0 && threads <= 1024)
        ParallelWork::setThreads(threads);
    auto owned = std::make_unique<VRLStack>();
    VRLStack& stack = *owned;
    const StackFile file(argv[1], std::move(owned));
    const int status = file.report();
    if (!file.isOpened())
        return status;
    if (!hasItems(stack))
        return complain(file.getName() + " has no models with contours or points: there is nothing to draw",
                        ExitProblems);
    const bool hasPose = argc > 5 && argv[5][0] != '\0';
    wishes.pose = hasPose ? findPose(stack, argv[5]) : nullptr;
    if (hasPose && wishes.pose == nullptr)
        return complain(file.getName() + " has no pose \"" + argv[5] + "\"; " + poseNames(stack), ExitUsage);
    if (wishes.isVideo && wishes.path == VideoPath::Poses && stack.getNumPoses() < 2)
        return complain("a video through the poses needs two of them; " + poseNames(stack), ExitUsage);

    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        return exitNoDisplay;
    qputenv("QT_ENABLE_HIGHDPI_SCALING", "0"); // the size is that of the picture
    int noArguments = 1;                       // that Qt could take for its own
    VorlenApplication application(noArguments, argv);
    return std::max(status, guarded(std::string("draw ") + argv[1], [&] { return draw(stack, wishes); }));
}

} // namespace

} // namespace vorlen

int main(int argc, char** argv) {
    using namespace vorlen;
    return run(argc, argv);
}
