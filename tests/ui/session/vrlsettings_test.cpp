#include "ui/session/vrlsettings.h"

#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include "editing/bus/vrlexception.h"
#include "ui/session/vrlpreferences.h"

namespace vorlen {

TEST(VRLSettings, recentFilesKeepTheirOrderAndTheOldestFallsOff) {
    QSettings().remove("recentFiles");
    VRLSettings::settings.load();
    for (int i = 0; i < 10; ++i)
        VRLSettings::addRecentFile("/data/" + QString::number(i) + ".sdf");
    VRLSettings::addRecentFile("/data/8.sdf");
    EXPECT_EQ(VRLSettings::getRecentFilesList().first(), "/data/9.sdf");
    EXPECT_EQ(VRLSettings::getRecentFilesList().size(), 10);
    VRLSettings::addRecentFile("/data/10.sdf");
    EXPECT_EQ(VRLSettings::getRecentFilesList().first(), "/data/10.sdf");
    EXPECT_EQ(VRLSettings::getRecentFilesList().last(), "/data/1.sdf");
    EXPECT_EQ(VRLSettings::getRecentFilesList().size(), 10);
}

TEST(VRLSettings, directoriesComeBackAndMissingOnesBecomeTheHome) {
    QTemporaryDir folder;
    VRLSettings::settings.setInputDirectory(QDir(folder.path()));
    VRLSettings::settings.setOutputDirectory(QDir(folder.filePath("gone")));
    VRLSettings::setOpenStackDialogSize(QSize(700, 500));
    VRLSettings::settings.save();
    VRLSettings::settings.setInputDirectory(QDir("/"));
    VRLSettings::setOpenStackDialogSize(QSize(1, 1));
    VRLSettings::settings.load();
    EXPECT_EQ(VRLSettings::settings.getInputDirectory().absolutePath(), QDir(folder.path()).absolutePath());
    EXPECT_EQ(VRLSettings::settings.getOutputDirectory(), QDir(QDir::homePath()));
    EXPECT_EQ(VRLSettings::getOpenStackDialogSize(), QSize(700, 500));
}

TEST(VRLPreferences, comeBackFromTheStoreWithinTheirRanges) {
    VRLPreferences::load();
    EXPECT_EQ(VRLPreferences::getMaxNumBackups(), 5);
    EXPECT_EQ(VRLPreferences::getClickTolerance(), 10);
    EXPECT_EQ(VRLPreferences::getImageCanvasBackgroundColor(), QColor(Qt::darkGray));
    VRLPreferences::setMaxNumBackups(2);
    VRLPreferences::enableAutoDecimation(true);
    VRLPreferences::setPanoramaLabelEnabled(false);
    VRLPreferences::setImageCanvasBackgroundColor(QColor(1, 2, 3));
    VRLPreferences::save();
    VRLPreferences::setMaxNumBackups(7);
    VRLPreferences::enableAutoDecimation(false);
    VRLPreferences::setImageCanvasBackgroundColor(Qt::red);
    VRLPreferences::load();
    EXPECT_EQ(VRLPreferences::getMaxNumBackups(), 2);
    EXPECT_TRUE(VRLPreferences::autoDecimationEnabled());
    EXPECT_FALSE(VRLPreferences::isPanoramaLabelEnabled());
    EXPECT_EQ(VRLPreferences::getImageCanvasBackgroundColor(), QColor(1, 2, 3));

    QSettings().setValue("preferences/maxNumBackups", 1000);
    QSettings().setValue("preferences/clickTolerance", -3);
    QSettings().setValue("preferences/imageCanvasBackgroundColor", "no colour");
    VRLPreferences::load();
    EXPECT_EQ(VRLPreferences::getMaxNumBackups(), 10);
    EXPECT_EQ(VRLPreferences::getClickTolerance(), 1);
    EXPECT_EQ(VRLPreferences::getImageCanvasBackgroundColor(), QColor(Qt::darkGray));
    QSettings().clear();
    VRLPreferences::load();
}

TEST(VRLException, carriesAFailureThroughACloneAndARaise) {
    Exception failure("here", "what happened");
    failure.addWhere("there");
    const std::unique_ptr<VRLException> clone(VRLException(failure).clone());
    try {
        clone->raise();
        FAIL();
    } catch (const Exception& caught) {
        EXPECT_EQ(caught.getWhat(), "what happened");
        EXPECT_EQ(caught.callStack(), failure.callStack());
    }
}

} // namespace vorlen
