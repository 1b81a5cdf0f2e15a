/// The windowed program. Its arguments are stack description files to open at the start, or images to make a stack of.

#include <iostream>

#include <QStringList>

#include "editing/bus/vrlexception.h"
#include "editing/stacks/vrlstackserver.h"
#include "ui/app/vrlrootwindow.h"
#include "ui/session/terminationsignals.h"
#include "ui/session/vrlpreferences.h"
#include "ui/session/vrlrecovery.h"
#include "ui/session/vrlsettings.h"
#include "ui/widgets/desktoptheme.h"
#include "ui/widgets/vorlenapplication.h"

namespace vorlen {

namespace {

int run(const QStringList& arguments) {
    DesktopTheme theme;
    theme.follow();
    VRLRecovery recovery;
    recovery.tidy();
    const auto bringToSafety = [&recovery] {
        recovery.saveModifiedStacks();
        recovery.waitForWrites();
    };
    // What is open and modified stays in its recovery file, and is offered at the next start.
    const TerminationSignals endings;
    QObject::connect(&endings, &TerminationSignals::terminated, &recovery, [bringToSafety](int signal) {
        bringToSafety();
        QCoreApplication::exit(128 + signal);
    });
    QObject::connect(qApp, &QGuiApplication::commitDataRequest, &recovery, bringToSafety, Qt::DirectConnection);
    auto* window = new VRLRootWindow; // deletes itself when it is closed
    window->startupRecover(recovery); // first: a file that is opened then is the one that came back
    window->startupOpen(arguments.mid(1));
    recovery.start();
    return QApplication::exec();
}

template <class Report>
int failed(Report&& report) {
    std::cout << "*** Exception ***\n";
    report();
    std::cout << std::endl;
    return 0;
}

int runReportingFailures(const QStringList& arguments) {
    try {
        return run(arguments);
    } catch (const VRLException& failure) {
        return failed([&failure] { std::cout << static_cast<const Exception&>(failure); });
    } catch (const Exception& failure) {
        return failed([&failure] { std::cout << failure; });
    } catch (const std::exception& failure) {
        return failed([&failure] { std::cout << failure.what(); });
    } catch (...) {
        return failed([] { std::cout << "No details available"; });
    }
}

} // namespace

} // namespace vorlen

int main(int argc, char** argv) {
    using namespace vorlen;
    VorlenApplication application(argc, argv);
    QApplication::setDesktopFileName("vorlen");
    VRLSettings::settings.load();
    VRLPreferences::load();
    QObject::connect(&application, &QApplication::lastWindowClosed, &application, &QApplication::quit);
    const int status = runReportingFailures(QApplication::arguments());
    VRLSettings::settings.save();
    VRLPreferences::save();
    return status;
}
