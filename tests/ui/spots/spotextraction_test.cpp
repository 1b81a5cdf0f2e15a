#include <deque>
#include <functional>
#include <stdexcept>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QProgressDialog>
#include <QSettings>
#include <QSlider>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include "document/modelitem.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/stacks/vrlstack.h"
#include "images/files/imagesourcefile.h"
#include "images/files/imagewriter.h"
#include "images/rasters/image.h"
#include "support/dialogdriver.h"
#include "support/documentmaker.h"
#include "ui/slices/vrlsliceeditwidgetcanvas.h"
#include "ui/spots/spotpreview.h"
#include "ui/spots/vrlspotextractionconfigdialog.h"
#include "ui/spots/vrlspotextractionconfigeditor.h"
#include "ui/spots/vrlspotextractionprocess.h"
#include "ui/spots/vrlspotthresholddialog.h"
#include "ui/widgets/vrldecimalbox.h"
#include "ui/widgets/vrltablewidget.h"

namespace vorlen {

namespace {

/// Plays the user in front of dialogs, each step on the next one; those of progress come and go by themselves.
class User {
public:
    using Step = std::function<void(QDialog&)>;

    explicit User(std::deque<Step> steps) : __steps(std::move(steps)) {
        QObject::connect(&__timer, &QTimer::timeout, [this] { look(); });
        __timer.start(5);
    }
    ~User() { EXPECT_TRUE(__steps.empty()) << __steps.size() << " dialogs did not appear"; }

private:
    void look() {
        auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr || dialog == __handled || qobject_cast<QProgressDialog*>(dialog) != nullptr)
            return;
        __handled = dialog;
        if (__steps.empty()) {
            ADD_FAILURE() << "unexpected dialog: " << dialog->windowTitle().toStdString();
            return dialog->reject();
        }
        const Step step = std::move(__steps.front());
        __steps.pop_front();
        QTimer::singleShot(0, dialog, [step, dialog] {
            if (const QString folder = qEnvironmentVariable("VORLEN_PICTURES"); !folder.isEmpty())
                dialog->grab().save(folder + "/" + dialog->windowTitle() + ".png");
            step(*dialog);
        });
    }

    std::deque<Step> __steps;
    QTimer __timer;
    QPointer<QDialog> __handled;
};

struct Ball {
    int row, column, plane, radius;
};

/// Twelve images of 60 x 40 pixels on disk, with a large ball, one that touches it, a small one, and one at the border.
class SpotExtractionTest : public ::testing::Test {
protected:
    static constexpr int rows = 40, columns = 60, planes = 12;

    SpotExtractionTest() {
        const Ball balls[] = {{20, 20, 6, 4}, {20, 27, 6, 3}, {10, 45, 4, 1}, {36, 52, 9, 4}};
        addSlices(stack, planes);
        for (int k = 0; k < planes; ++k) {
            Image image(columns, rows, 8);
            for (int i = 0; i < rows; ++i)
                for (int j = 0; j < columns; ++j) {
                    int value = 20 + (i * 7 + j * 13 + k * 5) % 9;
                    for (const Ball& ball : balls) {
                        const int d = (i - ball.row) * (i - ball.row) + (j - ball.column) * (j - ball.column) +
                                      (k - ball.plane) * (k - ball.plane);
                        if (d <= ball.radius * ball.radius)
                            value = 200 - 4 * d;
                    }
                    image.getPixels()[i][j] = static_cast<unsigned char>(value);
                }
            const std::string file = folder.filePath(QString("%1.tif").arg(k)).toStdString();
            ImageWriter().write(image, file, true);
            ImageSourceFile source;
            source.setFilename(file);
            stack.getSlice(k).setImageSource(source);
        }
        stack.setDefaultSliceSpacing(2);
        canvas.resize(400, 300);
        canvas.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&canvas));
        canvas.setSlice(stack.getSlice(6));
        process.setCanvas(canvas);
    }

    static QCheckBox& checkBox(QWidget& dialog, const QString& text) {
        for (auto* box : dialog.findChildren<QCheckBox*>())
            if (box->text() == text)
                return *box;
        throw std::logic_error("There is no such box");
    }

    static QString count(QWidget& dialog) { return control<QLabel>(dialog, "Number of spots").text(); }

    QTemporaryDir folder;
    VRLStack stack;
    VRLSliceEditWidgetCanvas canvas;
    VRLSpotExtractionProcess process;
};

} // namespace

TEST_F(SpotExtractionTest, spotsArePreviewedCountedChosenAndAddedInOneStep) {
    const auto settings = [](QDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), "Find spots");
        EXPECT_TRUE(control<QLabel>(dialog, "Memory").text().startsWith("60 x 40 x 12 voxels: the run takes about "));
        auto& suggested = checkBox(dialog, "Suggest the filters from the images");
        EXPECT_TRUE(suggested.isChecked());
        EXPECT_FALSE(control<QSpinBox>(dialog, "Top-hat radius").isEnabled());
        suggested.click();
        EXPECT_TRUE(control<QSpinBox>(dialog, "Top-hat radius").isEnabled());
        for (auto* group : dialog.findChildren<QGroupBox*>())
            if (group->isCheckable())
                group->setChecked(false);
        control<QLineEdit>(dialog, "Basename").clear();
        EXPECT_FALSE(button(dialog, "&Run").isEnabled());
        control<QLineEdit>(dialog, "Basename").setText("cell");
        button(dialog, "&Run").click();
    };
    const auto threshold = [this](QDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), "Spot extraction");
        EXPECT_EQ(control<QLabel>(dialog, "Filters").text(), "Filters: no filters");
        auto& value = control<VRLDecimalBox>(dialog, "Threshold");
        auto& rule = control<QComboBox>(dialog, "Proposal");
        EXPECT_EQ(rule.currentText(), "Isodata");
        EXPECT_GT(value.value(), 28);
        EXPECT_LT(value.value(), 150);
        // The told rule: the counts of the ground rise at its first grey value.
        rule.setCurrentIndex(0);
        emit rule.activated(0);
        EXPECT_EQ(value.value(), 20);
        value.setValue(100);
        ASSERT_NE(canvas.getExtraItem(), nullptr);
        // Disks of radius 4 and 3 through two balls, which share a pixel, and one of 7 square pixels.
        EXPECT_EQ(canvas.getExtraItem()->getVertices().getNumVertices(), 49 + 29 - 1 + 21);
        EXPECT_TRUE(QTest::qWaitFor([&] { return count(dialog).startsWith("<b>4 spots</b>"); }, 20000));
        auto& table = control<VRLTableWidget>(dialog, "Spots");
        ASSERT_EQ(table.rowCount(), 4);
        EXPECT_EQ(table.item(0, 0)->text(), "cell000");
        EXPECT_EQ(table.item(1, 5)->text(), "5"); // the small ball, on the fifth slice
        EXPECT_EQ(table.item(1, 1)->text(), "7");
        EXPECT_EQ(table.item(1, 4)->text(), "1376"); // 200 + 6 * 196
        auto& preview = *dialog.findChild<SpotPreview*>();
        EXPECT_EQ(preview.getPlane(), 6);
        table.setCurrentCell(1, 0);
        EXPECT_EQ(preview.getPlane(), 4);
        control<QSpinBox>(dialog, "Least size").setValue(8);
        EXPECT_TRUE(QTest::qWaitFor([&] { return count(dialog) == "<b>3 spots</b>; left out: 1 too small"; }, 20000))
            << count(dialog).toStdString();
        const QColor leftOut = preview.picture(4, QSize(columns, rows)).pixelColor(45, 10);
        EXPECT_GT(leftOut.red(), leftOut.green() + 100);
        const QColor kept = preview.picture(6, QSize(columns, rows)).pixelColor(20, 20);
        EXPECT_GT(kept.green(), 150);
        EXPECT_LT(kept.blue(), 100);
        checkBox(dialog, "Leave out spots at the border").setChecked(true);
        button(dialog, "&OK").click(); // while they are being counted
    };
    const User user({settings, threshold});
    process.run(stack);
    EXPECT_EQ(process.getNumSpots(), 2);
    ASSERT_EQ(stack.getNumModels(), 2);
    EXPECT_EQ(stack.getModel(0).getName(), "cell000");
    EXPECT_EQ(canvas.getExtraItem(), nullptr);
    stack.history()->undo();
    EXPECT_EQ(stack.getNumModels(), 0);
    EXPECT_FALSE(stack.history()->isUndoable());
    EXPECT_EQ(VRLSpotExtractionProcess::config().getLeastSize(), 8);
}

TEST_F(SpotExtractionTest, eachExitBeforeTheModelsLeavesTheStack) {
    {
        const User user({[](QDialog& dialog) { button(dialog, "&Cancel").click(); }});
        process.run(stack);
    }
    {
        const User user({[](QDialog& dialog) {
                             EXPECT_EQ(control<QLineEdit>(dialog, "Basename").text(), "spot");
                             checkBox(dialog, "Suggest the filters from the images").setChecked(true);
                             button(dialog, "&Run").click();
                         },
                         [](QDialog& dialog) {
                             const QString note = control<QLabel>(dialog, "Filters").text();
                             EXPECT_TRUE(note.startsWith("Suggested by the images (noise ")) << note.toStdString();
                             EXPECT_TRUE(note.contains("): Gaussian ")) << note.toStdString();
                             button(dialog, "&Cancel").click();
                         }});
        process.run(stack);
        EXPECT_EQ(canvas.getExtraItem(), nullptr);
    }
    VRLStack single;
    addSlices(single, 1);
    {
        Answers answers({"OK"});
        process.run(single);
        EXPECT_EQ(answers.texts[0], "The stack has one slice only: spots are sought in a volume of at least two.");
    }
    EXPECT_EQ(stack.getNumModels(), 0);
    EXPECT_FALSE(stack.history()->isUndoable());
}

TEST(SpotSettings, sizeAndResolutionAreCoupled) {
    VRLSpotExtractionConfigEditor editor;
    VRLSpotExtractionConfig config;
    Vector<int> size(3);
    size[0] = 400; // rows, which is Y
    size[1] = 6000;
    size[2] = 500;
    Vector<double> resolution(3);
    resolution[0] = 0.5;
    resolution[1] = 0.25;
    resolution[2] = 2;
    config.setVolumeSize(size);
    config.setResolution(resolution);
    config.setResizeState(true);
    config.setTophatFilterType(FlatTopHat);
    config.setLeastSize(17);
    editor.setConfig(config);
    auto& x = control<QSpinBox>(editor, "Size along X");
    auto& y = control<QSpinBox>(editor, "Size along Y");
    auto& z = control<QSpinBox>(editor, "Size along Z");
    EXPECT_EQ(x.value(), 6000); // beyond the usual range
    EXPECT_EQ(y.value(), 400);
    EXPECT_EQ(z.value(), 500);
    y.setValue(100);
    EXPECT_EQ(control<VRLDecimalBox>(editor, "Resolution along Y").value(), 2);
    control<VRLDecimalBox>(editor, "Resolution along X").setValue(1);
    EXPECT_EQ(x.value(), 1500);
    control<VRLDecimalBox>(editor, "Resolution along X").setValue(0.25);
    EXPECT_EQ(x.value(), 6000);
    const VRLSpotExtractionConfig read = editor.getConfig();
    EXPECT_TRUE(read.getResizeState());
    EXPECT_EQ(read.getNewSize()[0], 100);
    EXPECT_EQ(read.getNewSize()[1], 6000);
    EXPECT_EQ(read.getTophatFilterType(), FlatTopHat);
    EXPECT_EQ(read.getLeastSize(), 17);
    EXPECT_EQ(read.getBasename(), "spot");
}

} // namespace vorlen
