/// Entry of the test programs of windows: an application object as the program itself makes it, with settings of its
/// own in a folder that is removed at the end.

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include "ui/widgets/vorlenapplication.h"

// Drivers of OpenGL would be unloaded before a leak check, which could then not tell by their names what they keep.
extern "C" int dlclose(void*) {
    return 0;
}

int main(int argc, char** argv) {
    using namespace vorlen;
    ::testing::InitGoogleTest(&argc, argv);
    QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", (home.path() + "/config").toLocal8Bit());
    qputenv("XDG_STATE_HOME", (home.path() + "/state").toLocal8Bit());
    qputenv("XDG_CACHE_HOME", (home.path() + "/cache").toLocal8Bit());
    qputenv("XDG_DATA_HOME", (home.path() + "/data").toLocal8Bit());

    VorlenApplication application(argc, argv);
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
