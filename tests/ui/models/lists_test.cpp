#include <QImage>
#include <QLabel>
#include <QListWidget>
#include <QSignalSpy>
#include <QSlider>
#include <QTest>

#include <gtest/gtest.h>

#include "editing/bus/vrlsliceevent.h"
#include "editing/bus/vrlstackevent.h"
#include "editing/history/vrlactionhistory.h"
#include "editing/operations/sliceoperations.h"
#include "editing/stacks/vrlstack.h"
#include "editing/stacks/vrlstackserver.h"
#include "support/documentmaker.h"
#include "support/eventrecorder.h"
#include "ui/models/vrlmodellistwidget.h"
#include "ui/models/vrlslicelistwidget.h"
#include "ui/models/vrlstacklistwidget.h"

namespace vorlen {

namespace {

QStringList texts(const QListWidget& list) {
    QStringList rows;
    for (int row = 0; row < list.count(); ++row)
        rows += list.item(row)->text();
    return rows;
}

/// Colours of the border and of the middle of a row's icon.
std::pair<QColor, QColor> icon(const QListWidget& list, int row) {
    const QSize size = list.item(row)->icon().availableSizes().first();
    const QImage image = list.item(row)->icon().pixmap(size).toImage();
    return {image.pixelColor(0, size.height() / 2), image.pixelColor(size.width() / 2, size.height() / 2)};
}

const QColor grey(128, 128, 128);
const QColor white(255, 255, 255);
const QColor black(0, 0, 0);

class VRLSliceListWidgetTest : public ::testing::Test {
protected:
    VRLSliceListWidgetTest() : changes(&widget, &VRLSliceListWidget::selectionChanged) {
        stack.setDefaultRelativePosition(2);
        addSlices(stack, 5);
        widget.setStack(stack);
        widget.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&widget));
    }

    QString label() const { return widget.findChild<QLabel*>()->text(); }

    VRLStack stack;
    VRLSliceListWidget widget;
    QListWidget& list = *widget.findChild<QListWidget*>();
    QSlider& slider = *widget.findChild<QSlider*>();
    QSignalSpy changes;
};

} // namespace

TEST_F(VRLSliceListWidgetTest, listsTheLastSliceOnTopAndCountsThem) {
    EXPECT_EQ(texts(list), QStringList({"s4", "s3", "s2", "s1", "s0"}));
    EXPECT_EQ(label(), "Slices [5]");
    EXPECT_TRUE(slider.isEnabled());
    EXPECT_EQ(slider.minimum(), 0);
    EXPECT_EQ(slider.maximum(), 4);
    EXPECT_TRUE(widget.selectedSlices().empty());
    widget.clear();
    EXPECT_EQ(list.count(), 0);
    EXPECT_EQ(label(), "Slices [0]");
    EXPECT_FALSE(slider.isEnabled());
    EXPECT_EQ(slider.value(), 0);
    EXPECT_EQ(changes.count(), 0);
}

TEST_F(VRLSliceListWidgetTest, rowAndSliderAreTied) {
    QSignalSpy moves(&slider, &QSlider::valueChanged);
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualItemRect(list.item(1)).center());
    EXPECT_EQ(slider.value(), 3);
    EXPECT_EQ(moves.count(), 0); // the slider followed in silence
    EXPECT_EQ(changes.count(), 1);
    ASSERT_EQ(widget.selectedSlices().size(), 1u);
    EXPECT_EQ(widget.selectedSlices()[0], &stack.getSlice(3));

    slider.setFocus();
    QTest::keyClick(&slider, Qt::Key_Left);
    EXPECT_EQ(list.currentRow(), 2);
    ASSERT_EQ(widget.selectedSlices().size(), 1u);
    EXPECT_EQ(widget.selectedSlices()[0], &stack.getSlice(2));
    EXPECT_EQ(changes.count(), 2);
}

TEST_F(VRLSliceListWidgetTest, settingFromOutsideComesNotBack) {
    QSignalSpy moves(&slider, &QSlider::valueChanged);
    widget.setSelectedSlice(stack.getSlice(4));
    EXPECT_EQ(slider.value(), 4);
    widget.setSelectedSlice(stack.getSlice(0));
    EXPECT_EQ(slider.value(), 0);
    EXPECT_EQ(list.currentRow(), 4);
    ASSERT_EQ(widget.selectedSlices().size(), 1u);
    EXPECT_EQ(widget.selectedSlices()[0], &stack.getSlice(0));
    EXPECT_EQ(changes.count(), 0);
    EXPECT_EQ(moves.count(), 0);
}

TEST_F(VRLSliceListWidgetTest, slicesTakeTheirPlaceAndLeaveIt) {
    widget.removeSlice(stack.getSlice(0));
    widget.removeSlice(stack.getSlice(0));
    EXPECT_EQ(label(), "Slices [4]");
    EXPECT_EQ(slider.maximum(), 3);
    widget.setSelectedSlice(stack.getSlice(4));
    EXPECT_EQ(slider.value(), 3);
    widget.removeSlice(stack.getSlice(2));
    EXPECT_EQ(slider.value(), 2);
    widget.addSlice(stack.getSlice(2));
    widget.addSlice(stack.getSlice(0));
    widget.addSlice(stack.getSlice(0));
    EXPECT_EQ(texts(list), QStringList({"s4", "s3", "s2", "s1", "s0"}));
    EXPECT_EQ(slider.value(), 4);
    // A selected slice that goes leaves none selected.
    widget.removeSlice(stack.getSlice(4));
    EXPECT_TRUE(widget.selectedSlices().empty());
    EXPECT_EQ(changes.count(), 0);
}

TEST_F(VRLSliceListWidgetTest, aSliceThatIsTakenOutOfTheStackLeavesTheList) {
    widget.setSelectedSlice(stack.getSlice(3));
    VRLSliceInsertionDeletionAction deletion(stack.getSlice(1));
    deletion.setDeletionMode();
    deletion.setSlicePosition(1);
    deletion.apply();
    EXPECT_EQ(texts(list), QStringList({"s4", "s3", "s2", "s0"}));
    EXPECT_EQ(slider.value(), 2);
    EXPECT_EQ(widget.selectedSlices(), std::vector<StackSlice*>({&stack.getSlice(2)}));
    deletion.revert();
    widget.addSlice(stack.getSlice(1));
    EXPECT_EQ(texts(list), QStringList({"s4", "s3", "s2", "s1", "s0"}));
}

// A slice of its own spacing or calibration is grey, whatever its registration; R stands for a registration.
TEST_F(VRLSliceListWidgetTest, textAndIconTellRegistrationSpacingAndCalibration) {
    EventRecorder sender;
    EXPECT_EQ(icon(list, 2), std::make_pair(black, white));
    EXPECT_EQ(list.item(2)->icon().availableSizes().first(),
              QSize(list.fontMetrics().lineSpacing(), list.fontMetrics().lineSpacing()));

    stack.getSlice(2).setRelativePosition(3);
    VRLSliceSpacingEvent spacing(&stack.getSlice(2));
    sender.notifyEvent(spacing);
    EXPECT_EQ(icon(list, 2), std::make_pair(black, grey));
    EXPECT_EQ(icon(list, 1).second, white);

    stack.getSlice(3).getPixelCalibration().setPixelWidth(7);
    VRLSliceImageCalibrationEvent calibration(&stack.getSlice(3));
    sender.notifyEvent(calibration);
    EXPECT_EQ(icon(list, 1).second, grey);

    stack.getSlice(1).setName("renamed");
    stack.getSlice(1).setRegistration(Registration(1, 0, 0));
    VRLSliceNameEvent name(&stack.getSlice(1));
    sender.notifyEvent(name);
    EXPECT_EQ(list.item(3)->text(), "R renamed");

    stack.getSlice(4).setRegistration(Registration(0, 0, 5));
    VRLStackRegistrationEvent registration(&stack);
    sender.notifyEvent(registration);
    EXPECT_EQ(list.item(0)->text(), "R s4");
    EXPECT_EQ(icon(list, 0).second, white);

    stack.setDefaultRelativePosition(3);
    VRLStack other;
    VRLStackSliceSpacingEvent elsewhere(&other);
    sender.notifyEvent(elsewhere);
    EXPECT_EQ(icon(list, 2).second, grey); // not this stack's event
    VRLStackSliceSpacingEvent here(&stack);
    sender.notifyEvent(here);
    EXPECT_EQ(icon(list, 2).second, white); // its own spacing is the default now
    EXPECT_EQ(changes.count(), 0);
}

TEST_F(VRLSliceListWidgetTest, iconsFollowTheColoursOfTheList) {
    QPalette dark;
    dark.setColor(QPalette::Text, Qt::lightGray);
    dark.setColor(QPalette::Base, QColor(20, 20, 20));
    widget.setPalette(dark);
    EXPECT_EQ(icon(list, 2), std::make_pair(QColor(Qt::lightGray), QColor(20, 20, 20)));
    widget.setPalette(QPalette());
    EXPECT_EQ(icon(list, 2), std::make_pair(black, white));
}

// Absolute positions in steps of 0.1 differ from the default by rounding, which is no spacing of their own.
TEST_F(VRLSliceListWidgetTest, roundingOfAbsolutePositionsIsNoOwnSpacing) {
    stack.setDefaultRelativePosition(0.1f);
    for (int i = 0; i < 5; ++i)
        stack.getSlice(i).setAbsolutePosition(10 + 0.1f * float(i));
    stack.getSlice(0).setRelativePosition(0.1f);
    stack.getSlice(1).setAbsolutePosition(0.1f);
    stack.getSlice(2).setAbsolutePosition(0.2f);
    stack.getSlice(3).setAbsolutePosition(0.3f);
    stack.getSlice(4).setAbsolutePosition(0.45f);
    VRLStackSliceSpacingEvent event(&stack);
    EventRecorder().notifyEvent(event);
    EXPECT_EQ(icon(list, 1).second, white);
    EXPECT_EQ(icon(list, 2).second, white);
    EXPECT_EQ(icon(list, 0).second, grey);
}

TEST_F(VRLSliceListWidgetTest, followsTheOrderOfTheSlicesAndKeepsTheSelectedOne) {
    widget.setSelectedSlice(stack.getSlice(1));
    ASSERT_TRUE(reorderSlices(stack, {4, 3, 2, 1, 0}));
    EXPECT_EQ(texts(list), (QStringList{"s0", "s1", "s2", "s3", "s4"}));
    EXPECT_EQ(widget.selectedSlices(), std::vector<StackSlice*>{&stack.getSlice(3)});
    EXPECT_EQ(slider.value(), 3);
    stack.history()->undo();
    EXPECT_EQ(texts(list), (QStringList{"s4", "s3", "s2", "s1", "s0"}));
    EXPECT_EQ(slider.value(), 1);
    EXPECT_EQ(changes.count(), 0);
}

TEST_F(VRLSliceListWidgetTest, aBatchIsShownAtItsEnd) {
    EventRecorder sender;
    VRLEventClient::enableEventBatch(true);
    stack.getSlice(0).setName("new");
    VRLSliceNameEvent name(&stack.getSlice(0));
    sender.notifyEvent(name);
    VRLEventClient::enableEventBatch(false);
    EXPECT_EQ(list.item(4)->text(), "new");
}

TEST(VRLSliceListWidget, emptiesItselfWhenItsStackIsClosed) {
    auto* stack = new VRLStack;
    addSlices(*stack, 2);
    VRLStackServer::stackServer.addStack(*stack);
    VRLSliceListWidget widget;
    widget.setStack(*stack);
    VRLStackServer::stackServer.removeStack(*stack);
    EXPECT_EQ(widget.findChild<QListWidget*>()->count(), 0);
}

TEST(VRLStackListWidget, listsStacksByNameAndGivesThemBack) {
    VRLStackListWidget widget;
    QListWidget& list = *widget.findChild<QListWidget*>();
    QSignalSpy changes(&widget, &VRLStackListWidget::selectionChanged);
    widget.show();
    EXPECT_TRUE(QTest::qWaitForWindowExposed(&widget));
    VRLStack a, b, c;
    a.setName("a b");
    b.setName("a b");
    c.setName("\xc3\xb6"
              "c");
    for (VRLStack* stack : {&a, &b, &c, &c})
        widget.addStack(*stack);
    EXPECT_EQ(widget.findChild<QLabel*>()->text(), "Stacks [3]");
    EXPECT_EQ(texts(list), QStringList({"a b", "a b",
                                        QString::fromUtf8("\xc3\xb6"
                                                          "c")}));

    widget.setSelectedStack(b);
    EXPECT_EQ(widget.selectedStacks(), std::vector<VRLStack*>({&b}));
    EXPECT_EQ(changes.count(), 0);
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualItemRect(list.item(2)).center());
    EXPECT_EQ(widget.selectedStacks(), std::vector<VRLStack*>({&c}));
    EXPECT_EQ(changes.count(), 1);

    b.setName("new");
    VRLStackNameEvent event(&b);
    EventRecorder().notifyEvent(event);
    EXPECT_EQ(list.item(1)->text(), "new");

    widget.setSelectionMode(QAbstractItemView::MultiSelection);
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualItemRect(list.item(0)).center());
    EXPECT_EQ(widget.selectedStacks(), std::vector<VRLStack*>({&a, &c}));
    widget.removeStack(c);
    widget.removeStack(c);
    EXPECT_EQ(widget.selectedStacks(), std::vector<VRLStack*>({&a}));
    widget.removeStack(a);
    EXPECT_TRUE(widget.selectedStacks().empty());
    EXPECT_EQ(widget.findChild<QLabel*>()->text(), "Stacks [1]");
    EXPECT_EQ(changes.count(), 2);
}

TEST(VRLModelListWidget, isSortedAndWorksInSilence) {
    VRLModelListWidget list;
    QSignalSpy changes(&list, &QListWidget::itemSelectionChanged);
    VRLStack stack;
    for (const char* name : {"c", "a  a", "b"})
        addModel(stack, name);
    list.addModels(stack);
    EXPECT_EQ(texts(list), QStringList({"a  a", "b", "c"}));
    list.item(0)->setSelected(true);
    list.item(2)->setSelected(true);
    EXPECT_EQ(list.selectedModels(), std::vector<std::string>({"a  a", "c"}));
    const auto told = changes.count();
    list.removeSelectedModels();
    EXPECT_EQ(texts(list), QStringList({"b"}));
    EXPECT_TRUE(list.selectedModels().empty());
    list.selectAll();
    EXPECT_EQ(changes.count(), told + 1);
    list.clearSelected();
    EXPECT_TRUE(list.selectedModels().empty());
    list.removeModels();
    EXPECT_EQ(list.count(), 0);
    EXPECT_EQ(changes.count(), told + 1);
}

} // namespace vorlen
