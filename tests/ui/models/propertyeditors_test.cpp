#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QLineEdit>
#include <QLocale>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>

#include <gtest/gtest.h>

#include "support/dialogdriver.h"
#include "ui/models/vrlmodelitempropertieseditor.h"
#include "ui/models/vrlmodelnameeditor.h"
#include "ui/models/vrlmodelpropertieseditor.h"
#include "ui/models/vrlpixelcalibrationeditor.h"
#include "ui/models/vrlstackpropertieseditor.h"

namespace vorlen {

namespace {

/// Answers the color dialog with this color, or cancels it when there is none.
void answerColorDialog(const QColor& color) {
    QTimer::singleShot(50, [color] {
        auto* dialog = qobject_cast<QColorDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        if (!color.isValid())
            return dialog->reject();
        dialog->setCurrentColor(color);
        dialog->accept();
    });
}

/// The editor for stacks with its fields.
class VRLStackPropertiesEditorTest : public ::testing::Test {
protected:
    QLineEdit& field(const char* name) { return control<QLineEdit>(editor, name); }
    void type(QLineEdit& line, const QString& text) {
        line.selectAll();
        QTest::keyClicks(&line, text.isEmpty() ? QString(" ") : text);
    }

    VRLStackPropertiesEditor editor{false};
    QSignalSpy changes{&editor, &VRLStackPropertiesEditor::modified};
};

} // namespace

TEST(VRLModelNameEditor, givesTheNameWithSingleBlanksAndTellsEditsAlone) {
    VRLModelNameEditor editor;
    QSignalSpy changes(&editor, &VRLModelNameEditor::modified);
    editor.setName("left  lobe");
    EXPECT_EQ(changes.count(), 0);
    EXPECT_EQ(editor.getName(), "left lobe");
    auto& line = control<QLineEdit>(editor, "Model name");
    line.selectAll();
    QTest::keyClicks(&line, "  a   b ");
    EXPECT_GT(changes.count(), 0);
    EXPECT_EQ(editor.getName(), "a b");
    editor.clear();
    EXPECT_EQ(editor.getName(), "");
}

TEST(VRLModelPropertiesEditor, undefinedAttributesShowAsBlankAndStayUndefined) {
    VRLModelPropertiesEditor editor;
    EXPECT_TRUE(editor.properties() == ModelProperties());
    EXPECT_EQ(control<QComboBox>(editor, "Geometry").currentIndex(), -1);
    EXPECT_EQ(control<QComboBox>(editor, "Rendering mode").currentIndex(), -1);
    for (const char* name : {"Surface opacity", "Surface shininess", "Quadmesh width", "Quadmesh height"}) {
        EXPECT_EQ(control<QSpinBox>(editor, name).value(), -1) << name;
        EXPECT_EQ(control<QSpinBox>(editor, name).text(), " ") << name;
    }
    for (const char* name : {"Begin cap", "End cap", "Economic rendering"})
        EXPECT_EQ(control<QCheckBox>(editor, name).checkState(), Qt::PartiallyChecked) << name;
}

TEST(VRLModelPropertiesEditor, eachControlSetsItsAttributeAndTellsIt) {
    VRLModelPropertiesEditor editor;
    QSignalSpy changes(&editor, &VRLModelPropertiesEditor::modified);
    int told = 0;
    ModelProperties expected;
    control<QComboBox>(editor, "Geometry").setCurrentIndex(2);
    expected.setGeometry(PolypointPrimitive);
    EXPECT_TRUE(editor.properties() == expected);
    EXPECT_EQ(changes.count(), ++told);
    control<QComboBox>(editor, "Rendering mode").setCurrentIndex(0);
    expected.setRenderingMode(DotRendering);
    EXPECT_TRUE(editor.properties() == expected);
    control<QSpinBox>(editor, "Surface opacity").setValue(0);
    expected.setSurfaceOpacity(0);
    EXPECT_TRUE(editor.properties() == expected);
    control<QSpinBox>(editor, "Surface shininess").setValue(255);
    expected.setSurfaceShininess(255);
    EXPECT_TRUE(editor.properties() == expected);
    control<QSpinBox>(editor, "Quadmesh width").setValue(1000);
    expected.setQuadMeshWidth(1000);
    EXPECT_TRUE(editor.properties() == expected);
    control<QSpinBox>(editor, "Quadmesh height").setValue(12);
    expected.setQuadMeshHeight(12);
    EXPECT_TRUE(editor.properties() == expected);
    control<QCheckBox>(editor, "Begin cap").setCheckState(Qt::Checked);
    expected.setBeginCapFlag(true);
    EXPECT_TRUE(editor.properties() == expected);
    control<QCheckBox>(editor, "End cap").setCheckState(Qt::Unchecked);
    expected.setEndCapFlag(false);
    EXPECT_TRUE(editor.properties() == expected);
    control<QCheckBox>(editor, "Economic rendering").setCheckState(Qt::Checked);
    expected.setEconomicRendering(true);
    EXPECT_TRUE(editor.properties() == expected);
    EXPECT_EQ(changes.count(), told + 8);

    VRLModelPropertiesEditor other;
    other.setProperties(expected);
    EXPECT_TRUE(other.properties() == expected);
    other.clear();
    EXPECT_TRUE(other.properties() == ModelProperties());
    editor.setGeometryBoxEnabled(false);
    EXPECT_FALSE(control<QComboBox>(editor, "Geometry").isEnabled());
    EXPECT_TRUE(control<QComboBox>(editor, "Rendering mode").isEnabled());
}

// A file may bring fractions and numbers above the range: they are not changed by being shown.
TEST(VRLModelPropertiesEditor, numbersThatTheUserLeavesAloneStayAsTheyWere) {
    VRLModelPropertiesEditor editor;
    ModelProperties properties;
    properties.setSurfaceOpacity(127.5f);
    properties.setQuadMeshWidth(5000);
    editor.setProperties(properties);
    EXPECT_TRUE(editor.properties() == properties);
    EXPECT_EQ(control<QSpinBox>(editor, "Quadmesh width").value(), 5000);
    control<QSpinBox>(editor, "Surface opacity").setValue(10);
    properties.setSurfaceOpacity(10);
    EXPECT_TRUE(editor.properties() == properties);
}

TEST(VRLModelItemPropertiesEditor, showsAndGivesBackAttributesAndTellsOnce) {
    VRLModelItemPropertiesEditor editor;
    QSignalSpy changes(&editor, &VRLModelItemPropertiesEditor::modified);
    EXPECT_TRUE(editor.properties() == ModelItemProperties());
    ModelItemProperties properties;
    properties.setDefaults();
    editor.setProperties(properties);
    EXPECT_EQ(changes.count(), 1);
    EXPECT_TRUE(editor.properties() == properties);
    editor.setProperties(properties); // held already
    EXPECT_EQ(changes.count(), 1);
    // The entries of the symbol box: Dot, Sphere, Cube, Diamond, Tetrahedron.
    const VertexSymbol symbols[] = {DotSymbol, SphereSymbol, CubeSymbol, DiamondSymbol, TetrahedronSymbol};
    auto& box = control<QComboBox>(editor, "Vertex symbol");
    ASSERT_EQ(box.count(), 5);
    for (int i = 0; i < 5; ++i) {
        properties.setVertexSymbol(symbols[i]);
        editor.setProperties(properties);
        EXPECT_EQ(box.currentIndex(), i);
        EXPECT_EQ(box.currentText().toStdString(), ModelItemProperties::toString(symbols[i]));
        EXPECT_TRUE(editor.properties() == properties);
    }
    editor.clear();
    EXPECT_TRUE(editor.properties() == ModelItemProperties());
    EXPECT_EQ(control<QCheckBox>(editor, "Rendering visible").checkState(), Qt::PartiallyChecked);
    EXPECT_EQ(control<QSpinBox>(editor, "Point size").text(), " ");
}

TEST(VRLModelItemPropertiesEditor, theColorIsChosenInADialog) {
    VRLModelItemPropertiesEditor editor;
    editor.show();
    QSignalSpy changes(&editor, &VRLModelItemPropertiesEditor::modified);
    auto& color = control<QPushButton>(editor, "Color");
    answerColorDialog(QColor());
    color.click();
    EXPECT_FALSE(editor.properties().definesColor());
    EXPECT_EQ(changes.count(), 0);
    answerColorDialog(QColor(1, 2, 250));
    color.click();
    ModelItemProperties expected;
    expected.setColor(1, 2, 250);
    EXPECT_TRUE(editor.properties() == expected);
    EXPECT_EQ(changes.count(), 1);
    const QImage swatch = color.icon().pixmap(color.iconSize()).toImage();
    EXPECT_EQ(swatch.pixelColor(swatch.rect().center()), QColor(1, 2, 250));
}

TEST_F(VRLStackPropertiesEditorTest, listsEveryLengthUnitAndStartsAtTheMicrometer) {
    auto& box = control<QComboBox>(editor, "Length unit");
    const std::vector<int> scales = LengthUnit::availableScales();
    ASSERT_EQ(box.count(), int(scales.size()));
    EXPECT_EQ(box.currentText(), QString::fromUtf8("micrometer (\xc2\xb5m)"));
    EXPECT_EQ(editor.getLengthUnit().getScale(), -6);
    for (const int scale : scales) {
        editor.setLengthUnit(LengthUnit(scale));
        EXPECT_EQ(editor.getLengthUnit().getScale(), scale);
        EXPECT_EQ(editor.getPixelCalibration().getLengthUnit().getScale(), scale);
    }
    editor.setLengthUnit(LengthUnit(-2)); // no prefix: shown and kept all the same
    EXPECT_EQ(editor.getLengthUnit().getScale(), -2);
    EXPECT_EQ(field("Slice spacing").text(), "1.0");
    EXPECT_FALSE(editor.getAbsoluteImagesPathPolicy());
}

TEST_F(VRLStackPropertiesEditorTest, everyFieldTellsItsChanges) {
    const auto expectTold = [this](const char* what) {
        EXPECT_GT(changes.count(), 0) << what;
        changes.clear();
    };
    type(field("Stack name"), "x");
    expectTold("name");
    control<QComboBox>(editor, "Length unit").setCurrentIndex(0);
    expectTold("unit");
    type(field("Slice spacing"), "4");
    expectTold("spacing");
    type(field("Pixel width"), "4");
    expectTold("width");
    editor.findChild<QCheckBox*>()->click();
    expectTold("path");
    EXPECT_TRUE(editor.getAbsoluteImagesPathPolicy());
}

TEST_F(VRLStackPropertiesEditorTest, textsThatAreNoLengthsAreMarkedAndInvalid) {
    QLineEdit& spacing = field("Slice spacing");
    const QColor ground = spacing.palette().color(QPalette::Base);
    for (const char* text : {"", "abc", "0", "-1", "0.0", "inf", "nan", "1e50", "1,5", "1.5 mm", "1 000", "0x10"}) {
        spacing.setText(text);
        EXPECT_FALSE(editor.validSliceSpacing()) << text;
        EXPECT_NE(spacing.palette().color(QPalette::Base), ground) << text;
        EXPECT_FALSE(spacing.accessibleDescription().isEmpty()) << text;
    }
    for (const char* text : {"1", "0.25", ".5", " 2 ", "1e-3", "+4"}) {
        spacing.setText(text);
        EXPECT_TRUE(editor.validSliceSpacing()) << text;
        EXPECT_EQ(spacing.palette().color(QPalette::Base), ground) << text;
    }
    EXPECT_FALSE(editor.validName());
    type(field("Stack name"), "  ");
    EXPECT_FALSE(editor.validName());
    type(field("Stack name"), " a  b ");
    EXPECT_TRUE(editor.validName());
    EXPECT_EQ(editor.getName(), "a b");
    EXPECT_TRUE(editor.valid());
    editor.setName("whole", true);
    EXPECT_EQ(field("Stack name").selectedText(), "whole");
}

TEST_F(VRLStackPropertiesEditorTest, numbersHaveAPointInEveryLocale) {
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::German));
    VRLStackPropertiesEditor german(false);
    german.setSliceSpacing(0.5f);
    auto& spacing = control<QLineEdit>(german, "Slice spacing");
    EXPECT_EQ(spacing.text(), "0.5");
    spacing.setText("1234.5");
    EXPECT_TRUE(german.validSliceSpacing());
    EXPECT_DOUBLE_EQ(german.getSliceSpacing(), 1234.5f);
    QLocale::setDefault(before);
}

TEST_F(VRLStackPropertiesEditorTest, aSliceHasItsStacksUnitAndMayKeepAnyPosition) {
    VRLStackPropertiesEditor slice(true);
    EXPECT_FALSE(control<QComboBox>(slice, "Length unit").isEnabled());
    auto& spacing = control<QLineEdit>(slice, "Slice spacing");
    slice.setSliceSpacing(0);
    EXPECT_TRUE(slice.validSliceSpacing());
    spacing.setText("-1");
    EXPECT_FALSE(slice.validSliceSpacing());
    editor.setSliceSpacing(0);
    EXPECT_FALSE(editor.validSliceSpacing());
}

TEST(VRLPixelCalibrationEditor, twoNumbersAreEnteredAndTheThirdFollows) {
    VRLPixelCalibrationEditor editor;
    QLineEdit* const fields[] = {&control<QLineEdit>(editor, "Aspect ratio"),
                                 &control<QLineEdit>(editor, "Pixel width"),
                                 &control<QLineEdit>(editor, "Pixel height")};
    const int derived[] = {2, 1, 0};
    for (int config = 0; config < 3; ++config) {
        editor.setCalibrationConfig(config);
        EXPECT_EQ(control<QComboBox>(editor, "Given numbers of the pixel calibration").currentIndex(), config);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(fields[i]->isEnabled(), i != derived[config]);
            EXPECT_EQ(fields[i]->text().toDouble(), 1) << config << " " << i;
        }
    }
    editor.setCalibrationConfig(0);
    fields[0]->setText("2");
    fields[1]->setText("0.25");
    PixelCalibration calibration = editor.getPixelCalibration();
    EXPECT_FLOAT_EQ(calibration.getPixelHeight(), 0.5f);
    EXPECT_EQ(fields[2]->text(), "0.5");
    editor.setCalibrationConfig(1);
    fields[2]->setText("3");
    EXPECT_FLOAT_EQ(editor.getPixelCalibration().getPixelWidth(), 1.5f);
    editor.setCalibrationConfig(2);
    fields[1]->setText("1.2");
    EXPECT_FLOAT_EQ(editor.getPixelCalibration().getAspectRatio(), 2.5f);
    fields[1]->setText("0");
    EXPECT_FALSE(editor.validPixelCalibration());
    editor.setCalibrationConfig(1); // the width follows again
    EXPECT_TRUE(editor.validPixelCalibration());
    fields[0]->setText("1e-38");
    fields[2]->setText("1e38");
    EXPECT_FALSE(editor.validPixelCalibration()); // the width would be infinite
}

// Six digits are shown; a calibration that was only looked at comes back to the bit, and with its unit.
TEST(VRLPixelCalibrationEditor, anUntouchedCalibrationLosesNoDigit) {
    VRLPixelCalibrationEditor editor;
    QSignalSpy changes(&editor, &VRLPixelCalibrationEditor::modified);
    PixelCalibration calibration;
    calibration.setPixelWidth(0.123456789f);
    calibration.setPixelHeight(0.2f);
    calibration.setLengthUnit(LengthUnit(-3));
    calibration.compute();
    editor.setPixelCalibration(calibration);
    EXPECT_EQ(control<QLineEdit>(editor, "Pixel width").text(), "0.123457");
    EXPECT_GT(changes.count(), 0);
    for (int config = 0; config < 3; ++config) {
        editor.setCalibrationConfig(config);
        EXPECT_TRUE(editor.getPixelCalibration() == calibration);
        EXPECT_EQ(editor.getPixelCalibration().getLengthUnit().getScale(), -3);
    }
    control<QLineEdit>(editor, "Pixel height").setText("0.4");
    editor.setCalibrationConfig(2);
    EXPECT_EQ(editor.getPixelCalibration().getPixelWidth(), 0.123456789f);
    EXPECT_EQ(editor.getPixelCalibration().getPixelHeight(), 0.4f);
}

// Three numbers of a file that do not fit together are the file's matter, until the user changes one.
TEST(VRLPixelCalibrationEditor, anUntouchedCalibrationKeepsNumbersThatDisagree) {
    VRLPixelCalibrationEditor editor;
    PixelCalibration calibration;
    calibration.setPixelWidth(1);
    calibration.setPixelHeight(2);
    calibration.setAspectRatio(1);
    editor.setPixelCalibration(calibration);
    EXPECT_TRUE(editor.validPixelCalibration());
    EXPECT_TRUE(editor.getPixelCalibration() == calibration);
    EXPECT_EQ(control<QLineEdit>(editor, "Pixel height").text(), "2");
    control<QLineEdit>(editor, "Pixel width").setText("3");
    EXPECT_EQ(editor.getPixelCalibration().getPixelHeight(), 3);
    EXPECT_EQ(control<QLineEdit>(editor, "Pixel height").text(), "3");
    // One that is no size is replaced by what follows from the others.
    calibration.setPixelHeight(0);
    editor.setPixelCalibration(calibration);
    EXPECT_TRUE(editor.validPixelCalibration());
    EXPECT_EQ(editor.getPixelCalibration().getPixelHeight(), 1);
}

} // namespace vorlen
