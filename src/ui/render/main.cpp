/// Draws the scene of a stack as the rendering window shows it. `vorlen-cli render` runs this program, after it has
/// looked at the command line. Usage: vorlen-render STACK.sdf PICTURE.png WIDTH HEIGHT [POSE]
///
/// What can be refused without a display is refused before one is looked for.

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>

#include <QFile>

#include "cli/stackfile.h"
#include "document/model.h"
#include "document/pose.h"
#include "editing/stacks/vrlstack.h"
#include "ui/scenes/vrlrenderingmediator.h"
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

int draw(VRLStack& stack, const QString& picture, const QSize& size, const Pose* pose) {
    ViewerCanvasGL canvas;
    canvas.setAttribute(Qt::WA_DontShowOnScreen);
    VRLRenderingMediator mediator;
    mediator.setCanvas(&canvas);
    mediator.initialize();
    stack.updateReconstruction();
    mediator.setStack(stack);
    canvas.resize(size / canvas.devicePixelRatioF());
    mediator.setPose(pose != nullptr ? *pose : canvas.fittingPose());
    canvas.show();
    int status = ExitGood;
    if (canvas.grabFramebuffer().isNull() || !canvas.isValid())
        status = complain("the display has no OpenGL that could draw the picture", ExitFileError);
    else if (!canvas.saveSnapshot(picture))
        status = complain("cannot write " + picture.toStdString(), ExitFileError);
    else
        std::cout << picture.toStdString() << '\n';
    mediator.clear();
    mediator.setCanvas(nullptr);
    return status;
}

int run(int argc, char** argv) {
    if (argc != 5 && argc != 6) {
        std::cerr << "Usage: vorlen-render STACK.sdf PICTURE.png WIDTH HEIGHT [POSE]\n"
                     "Use 'vorlen-cli render', which runs this program.\n";
        return ExitUsage;
    }
    auto owned = std::make_unique<VRLStack>();
    VRLStack& stack = *owned;
    const StackFile file(argv[1], std::move(owned));
    const int status = file.report();
    if (!file.isOpened())
        return status;
    if (!hasItems(stack))
        return complain(file.getName() + " has no models with contours or points: there is nothing to draw",
                        ExitProblems);
    const Pose* pose = argc == 6 ? findPose(stack, argv[5]) : nullptr;
    if (argc == 6 && pose == nullptr)
        return complain(file.getName() + " has no pose \"" + argv[5] + "\"; " + poseNames(stack), ExitUsage);

    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        return exitNoDisplay;
    qputenv("QT_ENABLE_HIGHDPI_SCALING", "0"); // the size is that of the picture
    int noArguments = 1;                       // that Qt could take for its own
    VorlenApplication application(noArguments, argv);
    return std::max(status, guarded(std::string("draw ") + argv[1], [&] {
                        return draw(stack, QFile::decodeName(argv[2]), QSize(std::atoi(argv[3]), std::atoi(argv[4])),
                                    pose);
                    }));
}

} // namespace

} // namespace vorlen

int main(int argc, char** argv) {
    using namespace vorlen;
    return run(argc, argv);
}
