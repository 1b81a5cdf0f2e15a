/// Draws a picture of the main window with a stack in it. Usage: vorlen-picture STACK.sdf PICTURE.png
///
/// It needs a display; scripts/with-display gives it one of its own. Settings of the user are neither read nor changed.

#include <clocale>
#include <iostream>
#include <locale>

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QSettings>
#include <QSurfaceFormat>
#include <QTemporaryDir>
#include <QThread>

#include "shell/session/vrlstackserver.h"
#include "shell/vrlrootmediator.h"
#include "shell/vrlrootwindow.h"
#include "workspace/vrlrootsliceeditwidget.h"

namespace {

/// Lets the program go on for a while: images load on threads of their own.
void wait(int milliseconds) {
    QElapsedTimer timer;
    for (timer.start(); timer.elapsed() < milliseconds; QThread::msleep(5))
        QApplication::processEvents();
}

int draw(const QString& stack, const QString& picture) {
    auto* window = new VRLRootWindow;
    window->resize(1200, 800);
    window->mediator().openStack(stack);
    if (window->mediator().currentStack() == nullptr) {
        std::cerr << "Cannot open " << stack.toStdString() << '\n';
        return 3;
    }
    wait(1500);
    const QImage image = window->grab().toImage();
    while (VRLStackServer::stackServer.getNumStacks() > 0)
        VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(0));
    delete window;
    if (image.save(picture))
        return 0;
    std::cerr << "Cannot write " << picture.toStdString() << '\n';
    return 3;
}

} // namespace

int main(int argc, char** argv) {
    const QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toLocal8Bit());
    QSurfaceFormat format;
    format.setProfile(QSurfaceFormat::CompatibilityProfile);
    format.setDepthBufferSize(24);
    QSurfaceFormat::setDefaultFormat(format);
    QApplication application(argc, argv);
    QApplication::setOrganizationName("KORV");
    QApplication::setApplicationName("Vorlen");
    std::setlocale(LC_NUMERIC, "C");
    std::locale::global(std::locale::classic());
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() != 3) {
        std::cerr << "Usage: vorlen-picture STACK.sdf PICTURE.png\n";
        return 2;
    }
    return draw(arguments[1], arguments[2]);
}
