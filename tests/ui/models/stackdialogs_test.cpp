#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTest>

#include <gtest/gtest.h>

#include "editing/history/vrlactionhistory.h"
#include "editing/operations/sliceoperations.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "numerics/exception.h"
#include "support/dialogdriver.h"
#include "support/documentmaker.h"
#include "support/eventrecorder.h"
#include "ui/models/vrlslicepropertiesdialog.h"
#include "ui/models/vrlstackannotationdialog.h"
#include "ui/models/vrlstackpropertiesdialog.h"
#include "ui/models/vrlstackpropertieseditor.h"

namespace vorlen {

namespace {

using Names = std::vector<std::string>;

PixelCalibration square(float side) {
    PixelCalibration calibration;
    calibration.setPixelWidth(side);
    calibration.setPixelHeight(side);
    calibration.compute();
    return calibration;
}

template <class Dialog>
class PropertiesDialogTest : public ::testing::Test {
protected:
    PropertiesDialogTest() {
        stack.setName("brain");
        stack.setDefaultRelativePosition(2);
        stack.setLengthUnit(LengthUnit(-6));
        addSlices(stack, 4);
        stack.updateReconstruction();
    }

    void show() {
        dialog.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    }

    QLineEdit& field(const char* name) { return control<QLineEdit>(dialog, name); }
    void click(const char* text) { QTest::mouseClick(&button(dialog, text), Qt::LeftButton); }

    /// Apply and Reset.
    std::string state() {
        return std::string(button(dialog, "Apply").isEnabled() ? "+" : "-") +
               (button(dialog, "Reset").isEnabled() ? "+" : "-");
    }

    VRLStack stack;
    Dialog dialog;
};

class VRLStackPropertiesDialogTest : public PropertiesDialogTest<VRLStackPropertiesDialog> {
protected:
    VRLStackPropertiesDialogTest() {
        dialog.setStack(stack);
        show();
    }

    std::vector<double> spacings() {
        std::vector<double> values;
        for (int i = 0; i < stack.getNumSlices(); ++i)
            values.push_back(stack.getSlice(i).getRelativePosition());
        return values;
    }

    std::vector<float> widths() {
        std::vector<float> values;
        for (int i = 0; i < stack.getNumSlices(); ++i)
            values.push_back(stack.getSlice(i).getPixelCalibration().getPixelWidth());
        return values;
    }
};

class VRLSlicePropertiesDialogTest : public PropertiesDialogTest<VRLSlicePropertiesDialog> {
protected:
    VRLSlicePropertiesDialogTest() {
        dialog.setSlice(slice);
        show();
    }

    StackSlice& slice = stack.getSlice(1);
};

} // namespace

TEST_F(VRLStackPropertiesDialogTest, validityRulesApplyAndReset) {
    EXPECT_EQ(dialog.windowTitle(), "Stack properties");
    EXPECT_EQ(field("Stack name").text(), "brain");
    EXPECT_EQ(field("Slice spacing").text(), "2");
    EXPECT_EQ(state(), "--");
    for (const char* name : {"Stack name", "Slice spacing", "Pixel width"}) {
        field(name).setText(" ");
        EXPECT_EQ(state(), "--") << name;
        field(name).setText("5");
        EXPECT_EQ(state(), "++") << name;
    }
    click("Reset");
    EXPECT_EQ(state(), "--");
    EXPECT_EQ(field("Stack name").text(), "brain");
    EXPECT_EQ(field("Slice spacing").text(), "2");
    EXPECT_EQ(field("Pixel width").text(), "1");
    EXPECT_FALSE(stack.isModified());
}

TEST_F(VRLStackPropertiesDialogTest, whatDiffersIsChangedInOrderWithinABatch) {
    const int sliceScale = stack.getSlice(3).getPixelCalibration().getLengthUnit().getScale();
    EventRecorder recorder;
    field("Stack name").setText(" new  name ");
    control<QComboBox>(dialog, "Length unit").setCurrentText("nanometer (nm)");
    field("Slice spacing").setText("0.5");
    field("Pixel width").setText("0.25");
    dialog.findChild<QCheckBox*>()->click();
    click("Apply");
    EXPECT_EQ(state(), "--");
    EXPECT_EQ(stack.getName(), "new name");
    EXPECT_EQ(stack.getLengthUnit().getScale(), -9);
    EXPECT_EQ(stack.getSlice(3).getPixelCalibration().getLengthUnit().getScale(), -9);
    EXPECT_EQ(stack.getDefaultRelativePosition(), 0.5f);
    EXPECT_EQ(spacings(), std::vector<double>(4, 0.5f));
    EXPECT_EQ(stack.getDefaultPixelCalibration().getPixelWidth(), 0.25f);
    EXPECT_EQ(widths(), std::vector<float>(4, 0.25f));
    EXPECT_TRUE(stack.getAbsoluteImagesPathPolicy());
    EXPECT_TRUE(stack.isModified());
    // The stack answers with stackModify, and to a slice's calibration with stackImageCalibration.
    Names heard;
    for (const std::string& name : recorder.take())
        if (name != "stackModify")
            heard.push_back(name);
    Names expected = {"stackName", "stackSliceSpacing"};
    for (int i = 0; i < 4; ++i) {
        expected.push_back("stackImageCalibration");
        expected.push_back("sliceImageCalibration");
    }
    expected.insert(expected.end(), {"stackImageCalibration", "batchEnd"});
    EXPECT_EQ(heard, expected);
    EXPECT_FALSE(VRLEventClient::eventBatchEnabled());

    stack.history()->undo(); // all of it
    EXPECT_FALSE(stack.history()->isUndoable());
    EXPECT_EQ(stack.getName(), "brain");
    EXPECT_EQ(spacings(), std::vector<double>(4, 2.0f));
    EXPECT_EQ(widths(), std::vector<float>(4, 1.0f));
    EXPECT_EQ(stack.getSlice(3).getPixelCalibration().getLengthUnit().getScale(), sliceScale);
    EXPECT_EQ(field("Stack name").text(), "brain");
    EXPECT_EQ(field("Slice spacing").text(), "2");
    EXPECT_FALSE(dialog.findChild<QCheckBox*>()->isChecked());
    field("Slice spacing").setText("3"); // what is being entered stays
    stack.history()->redo();
    EXPECT_EQ(field("Slice spacing").text(), "3");
    click("Reset");
    EXPECT_EQ(field("Slice spacing").text(), "0.5");
}

TEST_F(VRLStackPropertiesDialogTest, unitAndPathAloneSendTheModifyEventTwice) {
    EventRecorder recorder;
    control<QComboBox>(dialog, "Length unit").setCurrentText("millimeter (mm)");
    click("Apply");
    EXPECT_EQ(recorder.take(), Names({"stackModify", "stackModify", "batchEnd"}));
    dialog.findChild<QCheckBox*>()->click();
    click("Apply");
    EXPECT_EQ(recorder.take(), Names({"stackModify", "stackModify", "batchEnd"}));
    field("Stack name").setText("other");
    field("Stack name").setText("brain");
    click("Apply");
    EXPECT_TRUE(recorder.take().empty()); // nothing differs
}

TEST_F(VRLStackPropertiesDialogTest, slicesOfTheirOwnSpacingAreAskedFor) {
    for (const int i : {0, 2, 3})
        stack.getSlice(i).setRelativePosition(float(10 + i));
    field("Slice spacing").setText("3");
    {
        Answers answers({"No", "Yes", "Escape"});
        click("Apply");
        EXPECT_EQ(answers.titles[0], "Changing slice spacing");
        EXPECT_EQ(answers.texts[0], "Slice s0: spacing differs from default stack spacing.\nSet spacing to new value?");
        EXPECT_EQ(answers.defaults[0], "No");
    }
    EXPECT_EQ(spacings(), std::vector<double>({10, 3, 3, 13}));
    field("Slice spacing").setText("4");
    {
        Answers answers({"No", "Yes to All"});
        stack.getSlice(2).setRelativePosition(12);
        click("Apply");
    }
    EXPECT_EQ(spacings(), std::vector<double>({10, 4, 4, 4}));
    // A slice that only follows the default goes on following it.
    EXPECT_TRUE(stack.getSlice(1).isDefaultRelativePosition());
}

// A slice that is moved takes those of absolute position with it only where the user says so: the differences are
// looked at before anything moves.
TEST_F(VRLStackPropertiesDialogTest, absolutePositionsOfTheDefaultSpacingAreNotAskedFor) {
    stack.getSlice(0).setRelativePosition(2);
    for (int i = 1; i < 4; ++i)
        stack.getSlice(i).setAbsolutePosition(2 * float(i));
    field("Slice spacing").setText("5");
    Answers none({});
    click("Apply");
    EXPECT_EQ(spacings(), std::vector<double>({5, 5, 5, 5}));
}

TEST_F(VRLStackPropertiesDialogTest, slicesOfTheirOwnCalibrationAreAskedFor) {
    stack.getSlice(1).setPixelCalibration(square(8));
    stack.getSlice(3).setPixelCalibration(square(9));
    field("Pixel width").setText("3");
    {
        Answers answers({"No", "Yes"});
        click("Apply");
        EXPECT_EQ(answers.titles[0], "Changing image calibration");
        EXPECT_EQ(answers.texts[0], "Slice s1: calibration differed from default stack image calibration.\nSet "
                                    "calibration to new value?");
        EXPECT_EQ(answers.defaults[0], "No");
    }
    EXPECT_EQ(widths(), std::vector<float>({3, 8, 3, 3}));
    EXPECT_EQ(stack.getSlice(0).getPixelCalibration().getPixelHeight(), 3);
}

// Numbers show six digits; a change of something else must not round them, nor ask about any slice.
TEST_F(VRLStackPropertiesDialogTest, numbersThatWereNotTouchedStayToTheBit) {
    stack.setDefaultRelativePosition(1.2345678);
    stack.setDefaultPixelCalibration(square(0.123456789f));
    stack.setName("two  words");
    dialog.setStack(stack);
    dialog.findChild<QCheckBox*>()->click();
    EventRecorder recorder;
    Answers none({});
    click("Apply");
    EXPECT_EQ(recorder.take(), Names({"stackModify", "stackModify", "batchEnd"}));
    EXPECT_EQ(stack.getName(), "two  words");
    EXPECT_EQ(stack.getDefaultRelativePosition(), 1.2345678);
}

// A window that fails to follow a change is told to the user, the batch ends, and the stack is as it was.
TEST_F(VRLStackPropertiesDialogTest, aFailureIsToldAndTheChangeTakenBack) {
    class Failing : public VRLEventClient {
        void stackSliceSpacingEvent(VRLStackSliceSpacingEvent&) override { throw ProgramError("here", "No such view"); }
    } failing;
    field("Slice spacing").setText("5");
    Answers answers({"OK"});
    click("Apply");
    ASSERT_EQ(answers.texts.size(), 1u);
    EXPECT_TRUE(answers.texts[0].contains("No such view"));
    EXPECT_EQ(spacings(), std::vector<double>(4, 2.0f));
    EXPECT_FALSE(stack.history()->isUndoable());
    EXPECT_FALSE(VRLEventClient::eventBatchEnabled());
}

TEST_F(VRLStackPropertiesDialogTest, closeDiscardsPendingEdits) {
    field("Stack name").setText("x");
    click("Close");
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(stack.getName(), "brain");
    EXPECT_FALSE(stack.isModified());
}

TEST_F(VRLSlicePropertiesDialogTest, changesWhatDiffersInOrder) {
    EXPECT_EQ(dialog.windowTitle(), "Slice properties");
    EXPECT_EQ(field("Slice name").text(), "s1");
    EXPECT_EQ(field("Slice spacing").text(), "2");
    EXPECT_EQ(state(), "--");
    field("Slice name").setText("");
    EXPECT_EQ(state(), "--");
    EventRecorder recorder;
    field("Slice name").setText("a  b");
    field("Slice spacing").setText("7");
    field("Pixel width").setText("3");
    EXPECT_EQ(state(), "++");
    click("Apply");
    EXPECT_EQ(state(), "--");
    EXPECT_EQ(slice.getName(), "a b");
    EXPECT_EQ(slice.getRelativePosition(), 7);
    EXPECT_EQ(slice.getPixelCalibration().getPixelWidth(), 3);
    EXPECT_EQ(slice.getPixelCalibration().getLengthUnit().getScale(), -6);
    EXPECT_EQ(stack.getDefaultRelativePosition(), 2);
    Names heard;
    for (const std::string& name : recorder.take())
        if (name != "stackModify" && name.starts_with("stack") == false)
            heard.push_back(name);
    EXPECT_EQ(heard, Names({"sliceName", "sliceSpacing", "sliceImageCalibration", "batchEnd"}));
    EXPECT_TRUE(stack.isModified());

    stack.history()->undo();
    EXPECT_EQ(field("Slice name").text(), "s1");
    EXPECT_EQ(field("Slice spacing").text(), "2");
    EXPECT_TRUE(slice.isDefaultRelativePosition());
    EXPECT_EQ(field("Pixel width").text(), "1");
    stack.history()->redo();
    EXPECT_EQ(slice.getRelativePosition(), 7);

    field("Slice name").setText("c");
    click("Reset");
    EXPECT_EQ(field("Slice name").text(), "a b");
    click("Close");
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

// The first slice may lie at an absolute position; its distance of 0 is no obstacle to another name.
TEST_F(VRLSlicePropertiesDialogTest, anUntouchedSpacingKeepsTheSlicesPosition) {
    stack.getSlice(0).setAbsolutePosition(100);
    dialog.setSlice(stack.getSlice(0));
    field("Slice name").setText("first");
    EXPECT_EQ(state(), "++");
    click("Apply");
    EXPECT_EQ(stack.getSlice(0).getName(), "first");
    EXPECT_FALSE(stack.getSlice(0).useRelativePosition());
    EXPECT_EQ(stack.getSlice(0).getAbsolutePosition(), 100);
}

TEST(VRLStackAnnotationDialog, editsTheNoteOfAStackOrOfASlice) {
    VRLStack stack;
    addSlices(stack, 1);
    stack.setAnnotation("about the stack");
    stack.getSlice(0).setAnnotation("about the slice");
    VRLStackAnnotationDialog dialog;
    auto& text = *dialog.findChild<QPlainTextEdit*>();
    EXPECT_EQ(text.minimumSize(), text.sizeHint());

    dialog.setStack(stack);
    dialog.show();
    EXPECT_EQ(dialog.windowTitle(), "Stack annotation");
    EXPECT_EQ(text.toPlainText(), "about the stack");
    text.setPlainText("lost");
    button(dialog, "Cancel").click();
    EXPECT_EQ(dialog.result(), QDialog::Rejected);
    EXPECT_EQ(stack.getAnnotation(), "about the stack");
    EXPECT_FALSE(stack.isModified());

    EventRecorder recorder;
    dialog.setSlice(stack.getSlice(0));
    dialog.show();
    EXPECT_EQ(dialog.windowTitle(), "Slice annotation");
    EXPECT_EQ(text.toPlainText(), "about the slice");
    text.setPlainText("\n two\nlines \xc3\xa9 \n\n");
    button(dialog, "OK").click();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(stack.getSlice(0).getAnnotation(), QString("two\nlines \xc3\xa9").toStdString());
    EXPECT_EQ(stack.getAnnotation(), "about the stack");
    EXPECT_EQ(recorder.take(), Names({"stackModify", "sliceAnnotation", "batchEnd"}));
    EXPECT_TRUE(stack.isModified());
    dialog.setSlice(stack.getSlice(0));
    stack.history()->undo();
    EXPECT_EQ(text.toPlainText(), "about the slice");
    text.appendPlainText("more"); // what is being written stays
    stack.history()->redo();
    EXPECT_EQ(text.toPlainText(), "about the slice\nmore");
    recorder.take();

    dialog.setStack(stack);
    text.setPlainText("  ");
    button(dialog, "OK").click();
    EXPECT_EQ(stack.getAnnotation(), "");
    EXPECT_EQ(recorder.take(), Names({"stackModify", "batchEnd"}));
}

TEST(StackDialogs, closeThemselvesWhenTheSliceIsTakenOut) {
    VRLStack stack;
    addSlices(stack, 1);
    VRLSlicePropertiesDialog slice;
    VRLStackAnnotationDialog annotation;
    slice.setSlice(stack.getSlice(0));
    annotation.setSlice(stack.getSlice(0));
    slice.show();
    annotation.show();
    ASSERT_TRUE(deleteSlices(stack, {&stack.getSlice(0)}));
    EXPECT_FALSE(slice.isVisible());
    EXPECT_FALSE(annotation.isVisible());
}

TEST(StackDialogs, closeThemselvesWhenTheStackIsClosed) {
    auto* stack = new VRLStack;
    addSlices(*stack, 1);
    VRLStackServer::stackServer.addStack(*stack);
    VRLStackPropertiesDialog properties;
    VRLSlicePropertiesDialog slice;
    VRLStackAnnotationDialog annotation;
    properties.setStack(*stack);
    slice.setSlice(stack->getSlice(0));
    annotation.setSlice(stack->getSlice(0));
    const std::vector<QDialog*> dialogs = {&properties, &slice, &annotation};
    for (QDialog* dialog : dialogs)
        dialog->show();
    VRLStackServer::stackServer.removeStack(*stack);
    for (QDialog* dialog : dialogs)
        EXPECT_FALSE(dialog->isVisible());
    annotation.apply(); // nothing is left to change
    properties.apply();
    slice.apply();
}

} // namespace vorlen
