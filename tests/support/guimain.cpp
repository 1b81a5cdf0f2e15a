/// Entry of the test programs of windows: an application object as the program itself makes it, with settings of its
/// own in a folder that is removed at the end.

#include <clocale>
#include <locale>

#include <QApplication>
#include <QSettings>
#include <QSurfaceFormat>
#include <QTemporaryDir>

#include <gtest/gtest.h>

// Drivers of OpenGL would be unloaded before a leak check, which could then not tell by their names what they keep.
extern "C" int dlclose(void*) {
    return 0;
}

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", (home.path() + "/config").toLocal8Bit());
    qputenv("XDG_STATE_HOME", (home.path() + "/state").toLocal8Bit());
    qputenv("XDG_DATA_HOME", (home.path() + "/data").toLocal8Bit());

    QSurfaceFormat format;
    format.setProfile(QSurfaceFormat::CompatibilityProfile);
    format.setDepthBufferSize(24);
    QSurfaceFormat::setDefaultFormat(format);
    QApplication application(argc, argv);
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setOrganizationName("KORV");
    QApplication::setApplicationName("Vorlen");
    std::setlocale(LC_NUMERIC, "C");
    std::locale::global(std::locale::classic());
    return RUN_ALL_TESTS();
}
