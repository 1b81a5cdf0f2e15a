#include <fstream>
#include <memory>

#include <QCheckBox>
#include <QColorDialog>
#include <QLabel>
#include <QSpinBox>
#include <QTest>

#include <gtest/gtest.h>

#include "images/sections/levelstore.h"
#include "support/dialogdriver.h"
#include "support/eventrecorder.h"
#include "ui/models/vrlpreferencesdialog.h"
#include "ui/session/vrlpreferences.h"
#include "ui/widgets/colorselector.h"

namespace vorlen {

namespace {

class VRLPreferencesDialogTest : public ::testing::Test {
protected:
    VRLPreferencesDialogTest() {
        VRLPreferences::enableAutoDecimation(false);
        VRLPreferences::setPanoramaLabelEnabled(true);
        VRLPreferences::setMaxNumBackups(5);
        VRLPreferences::setClickTolerance(10);
        dialog = std::make_unique<VRLPreferencesDialog>();
        dialog->show();
    }

    bool enabled(const char* text) { return button(*dialog, text).isEnabled(); }

    std::unique_ptr<VRLPreferencesDialog> dialog;
    EventRecorder recorder;
};

} // namespace

TEST_F(VRLPreferencesDialogTest, namesTheFoldersOfWhatIsKept) {
    const QString text = control<QLabel>(*dialog, "Folders").text();
    const QString state = qEnvironmentVariable("XDG_STATE_HOME") + "/vorlen/";
    EXPECT_TRUE(text.contains(state + "recovery") && text.contains(state + "history")) << text.toStdString();
}

TEST_F(VRLPreferencesDialogTest, tellsHowMuchTheReducedImagesTakeUpAndClearsThem) {
    const LevelStore store;
    const std::string folder = store.beginLevels();
    std::ofstream(folder + "/0.tif") << std::string(3 << 20, 'x');
    store.endLevels(folder, "a picture");
    VRLPreferencesDialog shown;
    shown.show();
    auto& text = control<QLabel>(shown, "Reduced images");
    EXPECT_TRUE(text.text().contains("3.0 MB of at most 8.0 GB")) << text.text().toStdString();
    EXPECT_TRUE(text.text().contains(QString::fromStdString(store.getFolder()))) << text.text().toStdString();
    auto& clear = button(shown, "Clear");
    QTest::mouseClick(&clear, Qt::LeftButton);
    EXPECT_EQ(store.size(), 0u);
    EXPECT_TRUE(text.text().contains("0 bytes of at most")) << text.text().toStdString();
    EXPECT_FALSE(clear.isEnabled());
}

TEST_F(VRLPreferencesDialogTest, applyStoresEveryFieldAndTellsIt) {
    auto& backups = control<QSpinBox>(*dialog, "Maximum number of backup files");
    auto& tolerance = control<QSpinBox>(*dialog, "Mouse click tolerance");
    EXPECT_EQ(dialog->windowTitle(), "Preferences");
    EXPECT_EQ(backups.value(), 5);
    EXPECT_EQ(std::make_pair(backups.minimum(), backups.maximum()), std::make_pair(0, 10));
    EXPECT_EQ(std::make_pair(tolerance.minimum(), tolerance.maximum()), std::make_pair(1, 50));
    EXPECT_FALSE(enabled("Apply") || enabled("Cancel"));
    control<QCheckBox>(*dialog, "Automatic contour decimation").click();
    EXPECT_TRUE(enabled("Apply") && enabled("Cancel"));
    control<QCheckBox>(*dialog, "Display image labels in panoramas").click();
    backups.setValue(0);
    tolerance.setValue(50);
    QTimer::singleShot(50, [] {
        auto* colors = qobject_cast<QColorDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(colors, nullptr);
        colors->setCurrentColor(QColor(1, 2, 3));
        colors->accept();
    });
    dialog->findChild<ColorSelector*>()->click();
    EXPECT_FALSE(VRLPreferences::autoDecimationEnabled()); // not yet
    button(*dialog, "Apply").click();
    EXPECT_TRUE(VRLPreferences::autoDecimationEnabled());
    EXPECT_FALSE(VRLPreferences::isPanoramaLabelEnabled());
    EXPECT_EQ(VRLPreferences::getMaxNumBackups(), 0);
    EXPECT_EQ(VRLPreferences::getClickTolerance(), 50);
    EXPECT_EQ(VRLPreferences::getImageCanvasBackgroundColor(), QColor(1, 2, 3));
    EXPECT_EQ(recorder.take(), std::vector<std::string>({"preferences"}));
    EXPECT_FALSE(enabled("Apply") || enabled("Cancel"));
    EXPECT_TRUE(dialog->isVisible());
}

TEST_F(VRLPreferencesDialogTest, okAppliesAndClosesAndCancelKeepsWhatWas) {
    control<QSpinBox>(*dialog, "Mouse click tolerance").setValue(20);
    button(*dialog, "OK").click();
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    EXPECT_EQ(VRLPreferences::getClickTolerance(), 20);
    EXPECT_EQ(recorder.take(), std::vector<std::string>({"preferences"}));

    VRLPreferencesDialog other;
    other.show();
    EXPECT_EQ(control<QSpinBox>(other, "Mouse click tolerance").value(), 20);
    control<QSpinBox>(other, "Mouse click tolerance").setValue(30);
    button(other, "Cancel").click();
    EXPECT_EQ(other.result(), QDialog::Rejected);
    EXPECT_EQ(VRLPreferences::getClickTolerance(), 20);
    EXPECT_TRUE(recorder.take().empty());
}

} // namespace vorlen
