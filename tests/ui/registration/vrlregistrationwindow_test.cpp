#include "ui/registration/vrlregistrationwindow.h"

#include <set>

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSettings>
#include <QTableWidget>
#include <QTest>
#include <QToolButton>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include "editing/history/vrlactionhistory.h"
#include "editing/operations/slicealignment.h"
#include "editing/operations/sliceoperations.h"
#include "editing/stacks/vrlstackserver.h"
#include "numerics/exception.h"
#include "support/commands.h"
#include "support/modalscript.h"
#include "ui/cuts/greyimage.h"
#include "ui/registration/landmarkpanel.h"
#include "ui/registration/registrationcommands.h"
#include "ui/registration/registrationreportdialog.h"
#include "ui/registration/registrationstack.h"
#include "ui/registration/sectionmarks.h"
#include "ui/registration/stripview.h"
#include "ui/registration/vrlimagetransparencymodecombobox.h"
#include "ui/registration/vrlregistrationcanvas.h"
#include "ui/registration/vrlregistrationmediator.h"
#include "ui/registration/vrlregistrationpanel.h"
#include "ui/registration/vrlregistrationstatusbar.h"

namespace vorlen {

namespace {

/// A shown window on a stack of five sections of one tissue: the third lies shifted against the first two, the fourth
/// turned as well, and the fifth as the first.
class VRLRegistrationWindowTest : public ::testing::Test {
protected:
    VRLRegistrationWindowTest() {
        QSettings().clear();
        VRLStackServer::stackServer.addStack(stack);
        window->setStack(stack);
        EXPECT_TRUE(QTest::qWaitForWindowExposed(window));
    }
    ~VRLRegistrationWindowTest() override {
        while (VRLStackServer::stackServer.getNumStacks() > 0)
            VRLStackServer::stackServer.removeStack(VRLStackServer::stackServer.getStack(0));
        sendDeletions();
        EXPECT_EQ(window, nullptr);
    }

    static void sendDeletions() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }

    VRLRegistrationMediator& mediator() { return window->getMediator(); }
    VRLRegistrationCanvas& canvas() { return window->getCanvas(); }
    StackSlice& slice(int i) { return stack.getSlice(i); }
    const Registration& own(int i) { return slice(i).getRegistration(); }
    QListWidget& list() { return *window->getPanel().findChild<QListWidget*>(); }
    QDoubleSpinBox& angle() { return *window->getPanel().findChild<QDoubleSpinBox*>(); }

    void click(const char* text) {
        for (auto* button : window->findChildren<QAbstractButton*>())
            if (button->text() == text && qobject_cast<QWidget*>(button->parent()) != nullptr) {
                if (qobject_cast<QCheckBox*>(button) != nullptr)
                    button->click();
                else
                    QTest::mouseClick(button, Qt::LeftButton);
                return;
            }
        ADD_FAILURE() << text;
    }
    QAbstractButton* button(const char* text) {
        for (auto* found : window->findChildren<QAbstractButton*>())
            if (found->text() == text)
                return found;
        return nullptr;
    }
    QStringList rows() {
        QStringList texts;
        for (int row = 0; row < list().count(); ++row)
            texts += list().item(row)->text();
        return texts;
    }
    QStringList fields() {
        QStringList texts;
        for (const auto* field : window->getPanel().findChildren<QLineEdit*>())
            if (field->isReadOnly() && field->width() == 100)
                texts += field->text();
        return texts;
    }
    /// Press, a move of the pointer, and release.
    void drag(Qt::MouseButton button, QPoint from, QPoint to) {
        QTest::mousePress(&canvas(), button, Qt::NoModifier, from);
        QMouseEvent move(QEvent::MouseMove, to, canvas().mapToGlobal(to), Qt::NoButton, button, Qt::NoModifier);
        QCoreApplication::sendEvent(&canvas(), &move);
        QTest::mouseRelease(&canvas(), button, Qt::NoModifier, to);
    }
    QPoint middle() { return canvas().contentsRect().center(); }
    void waitForRun() {
        EXPECT_TRUE(QTest::qWaitFor([this] { return !mediator().isRunning(); }, 60000));
    }
    std::string bytes() { return StackWriter().toText(stack); }
    /// Where the middle of a slice lies in the world.
    Vector<float> placeOf(int i) { return stack.getReconstruction().toWorld(i, 120, 80); }
    float distance(const Vector<float>& a, const Vector<float>& b) { return std::hypot(a[0] - b[0], a[1] - b[1]); }

    TemporaryFolder folder;
    VRLStack& stack = *makePile(folder, {{}, {}, {6, -4, 0}, {6, -4, 350}, {0, 0, 0}}).release(); // the server's
    QPointer<VRLRegistrationWindow> window = new VRLRegistrationWindow;
    ModalScript user;
};

} // namespace

TEST_F(VRLRegistrationWindowTest, offersAllSlicesButTheFirstAndBeginsWithNone) {
    EXPECT_EQ(window->windowTitle(), "Registration");
    EXPECT_TRUE(stack.isRegistrationWindowOpen());
    EXPECT_EQ(rows(), (QStringList{"s4", "s3", "s2", "s1"}));
    EXPECT_EQ(fields(), (QStringList{"pile", "", "", "", ""}));
    EXPECT_EQ(mediator().getSlice(), nullptr);
    click("Apply");
    click("Reset");
    click("Restore");
    click("Run"); // of no slice
    drag(Qt::LeftButton, middle(), middle() + QPoint(20, 10));
    EXPECT_FALSE(stack.isModified());
    EXPECT_FALSE(mediator().isRunning());
    expectSound(*window, mediator().commands(), registrationCommands());
    VRLStack lonely;
    addSlices(lonely, 1);
    window->setStack(lonely); // in silence
    EXPECT_EQ(mediator().getStack(), &stack);
    try {
        mediator().setStack(lonely);
        ADD_FAILURE() << "a stack of one slice was taken";
    } catch (const UsageError& error) {
        EXPECT_EQ(error.getWhere(), "void VRLRegistrationMediator::setStack(VRLStack&)");
        EXPECT_EQ(error.getWhat(), "Cannot perform registration without at least 2 slices");
    }
}

TEST_F(VRLRegistrationWindowTest, goesThroughTheSlicesAndNeverToTheFirst) {
    const auto current = [this] { return mediator().getSlice() == nullptr ? "" : mediator().getSlice()->getName(); };
    click("First");
    EXPECT_EQ(current(), "s1");
    click("Prev");
    EXPECT_EQ(current(), "s1");
    click("Next");
    EXPECT_EQ(current(), "s2");
    EXPECT_EQ(fields(), (QStringList{"pile", "s1", "s2", "0", "0"}));
    click("Last");
    click("Next");
    EXPECT_EQ(current(), "s4");
    list().setCurrentRow(2);
    EXPECT_EQ(current(), "s2");
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    QTest::keyClick(window, Qt::Key_PageUp);
    EXPECT_EQ(current(), "s3");
    mediator().setSlice(QString("s1"));
    EXPECT_EQ(list().currentItem()->text(), "s1");
    mediator().setSlice(slice(0));
    EXPECT_EQ(current(), "s1");
    EXPECT_EQ(window->getStatusBar().message(), ""); // after the messages of reading
}

TEST_F(VRLRegistrationWindowTest, dragsShiftAndTurnAndOnlyApplyGivesThemToTheSlice) {
    const std::string before = bytes();
    window->showSlice(slice(2));
    const double step = canvas().foregroundToCanvas({1, 0}).x() - canvas().foregroundToCanvas({0, 0}).x();
    drag(Qt::LeftButton, middle(), middle() + QPoint(30, -20));
    EXPECT_NEAR(mediator().getRegistration().getHorShift(), 30 / step, 0.001);
    EXPECT_NEAR(mediator().getRegistration().getVerShift(), -20 / step, 0.001);
    const QPoint centre = middle() + QPoint(30, -20);
    drag(Qt::RightButton, centre + QPoint(100, 0), centre + QPoint(0, 100)); // a quarter, clockwise
    EXPECT_NEAR(mediator().getRegistration().getRotationAngle(), 90, 1);
    const double tenths = double(mediator().getRegistration().getRotationAngle()) * 10;
    EXPECT_NEAR(tenths, std::round(tenths), 1e-3);
    drag(Qt::RightButton, centre + QPoint(0, 100), centre + QPoint(100, 0));
    drag(Qt::RightButton, centre + QPoint(100, 0), centre + QPoint(100, -20)); // below zero
    EXPECT_NEAR(mediator().getRegistration().getRotationAngle(), 348.7, 1);
    EXPECT_TRUE(own(2).isNull());
    EXPECT_TRUE(button("Restore")->isEnabled());
    click("Restore");
    EXPECT_TRUE(mediator().getRegistration().isNull());
    EXPECT_FALSE(button("Restore")->isEnabled());
    drag(Qt::MiddleButton, middle(), middle() + QPoint(9, 9));
    EXPECT_FALSE(mediator().isPending());

    angle().setValue(12.5);
    drag(Qt::LeftButton, middle(), middle() + QPoint(15, 0));
    const Registration shown = mediator().getRegistration();
    click("Apply");
    EXPECT_EQ(own(2), shown);
    EXPECT_FLOAT_EQ(own(2).getRotationAngle(), 12.5f);
    EXPECT_TRUE(stack.isModified());
    EXPECT_EQ(stack.getLastRegisteredSlice(), "s2");
    EXPECT_EQ(list().item(2)->text(), "R s2");
    click("Reset");
    EXPECT_TRUE(mediator().getRegistration().isNull());
    EXPECT_EQ(own(2), shown);
    trigger(mediator().commands(), "edit.undo"); // what was not applied
    EXPECT_EQ(mediator().getRegistration(), shown);
    trigger(mediator().commands(), "edit.undo");
    EXPECT_TRUE(mediator().getRegistration().isNull());
    EXPECT_EQ(bytes(), before);
    trigger(mediator().commands(), "edit.redo");
    EXPECT_EQ(mediator().getRegistration(), shown);
}

TEST_F(VRLRegistrationWindowTest, leavingASliceAppliesAndCancelDrops) {
    window->showSlice(slice(1));
    angle().setValue(3);
    click("Next");
    EXPECT_EQ(own(1), Registration(0, 0, 3));
    angle().stepBy(-1); // from 0 to the end of the turn
    EXPECT_FLOAT_EQ(mediator().getRegistration().getRotationAngle(), 359.9f);
    click("Cancel");
    sendDeletions();
    EXPECT_EQ(window, nullptr);
    EXPECT_TRUE(own(2).isNull());
    EXPECT_FALSE(stack.isRegistrationWindowOpen());
}

TEST_F(VRLRegistrationWindowTest, asksBeforeItClosesOnWhatWasNotApplied) {
    window->showSlice(slice(1));
    angle().setValue(3);
    user.thenClick("Cancel");
    window->close();
    sendDeletions();
    ASSERT_NE(window, nullptr);
    user.thenClick("Apply");
    window->close();
    sendDeletions();
    EXPECT_EQ(window, nullptr);
    EXPECT_EQ(own(1), Registration(0, 0, 3));
}

TEST_F(VRLRegistrationWindowTest, keysNudgeBySmallAndLargeSteps) {
    window->showSlice(slice(1));
    canvas().setFocus();
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window));
    const auto shown = [this] { return mediator().getRegistration(); };
    QTest::keyClick(&canvas(), Qt::Key_Right);
    QTest::keyClick(&canvas(), Qt::Key_Up, Qt::ShiftModifier);
    EXPECT_EQ(shown(), Registration(1, -10, 0));
    for (int i = 0; i < 3; ++i)
        QTest::keyClick(&canvas(), Qt::Key_Right, Qt::ControlModifier);
    QTest::keyClick(&canvas(), Qt::Key_Down);
    EXPECT_EQ(shown(), Registration(1.3, -9, 0)); // tenths add up without dust
    EXPECT_EQ(fields().mid(3), (QStringList{"1.3", "-9"}));
    QTest::keyClick(&canvas(), Qt::Key_Left, Qt::AltModifier);
    EXPECT_FLOAT_EQ(shown().getRotationAngle(), 359.9f);
    QTest::keyClick(&canvas(), Qt::Key_Period);
    EXPECT_EQ(shown(), Registration(1.3, -9, 0));
    angle().setFocus();
    QTest::keyClick(&angle(), Qt::Key_Up); // the field's own key
    EXPECT_EQ(shown(), Registration(1.3, -9, 0.1f));
}

TEST_F(VRLRegistrationWindowTest, mixesTheImagesByEachMode) {
    window->showSlice(slice(2));
    mediator().setRegistration(Registration(10, 5, 0));
    Image background, foreground;
    loadGrey(slice(1), background);
    loadGrey(slice(2), foreground);
    const SectionPlaces places = canvas().places();
    resizeTo(background, places.backgroundFrame().width(), places.backgroundFrame().height());
    resizeTo(foreground, places.backgroundFrame().width(), places.backgroundFrame().height());
    const QPoint at = canvas().contentsRect().center() - canvas().contentsRect().topLeft() + QPoint(25, 30);
    const QPoint inBackground = at - places.backgroundOrigin(), inForeground = at - places.foregroundOrigin();
    const int b = background.getPixels()[inBackground.y()][inBackground.x()];
    const int f = foreground.getPixels()[inForeground.y()][inForeground.x()];
    EXPECT_NE(b, f);
    auto& modes = *window->findChild<VRLImageTransparencyModeComboBox*>();
    const int expected[] = {(b + f) >> 1, std::abs(b - f), (b * f) >> 8, std::min(b, f), std::max(b, f)};
    const char* names[] = {"Addition", "Subtraction", "Multiplication", "Minimum", "Maximum"};
    for (int mode = 0; mode < 5; ++mode) {
        EXPECT_EQ(modes.itemText(mode), names[mode]);
        emit modes.QComboBox::activated(mode);
        canvas().repaint();
        EXPECT_EQ(canvas().displayImage().pixelIndex(at), expected[mode]) << names[mode];
    }
    canvas().setComparison(SectionComparison::Background);
    canvas().repaint();
    EXPECT_EQ(canvas().displayImage().pixelIndex(at), b);
    for (auto* tool : window->findChildren<QToolButton*>())
        if (tool->toolTip() == "Show items only")
            tool->click();
    canvas().repaint();
    EXPECT_EQ(canvas().displayImage().pixelIndex(at), 255);
}

TEST_F(VRLRegistrationWindowTest, comparesInTurnsAndInSquares) {
    window->showSlice(slice(2));
    const auto side = [this] { return canvas().getComparison(); };
    trigger(mediator().commands(), "view.blink");
    EXPECT_TRUE(canvas().isBlinking());
    EXPECT_EQ(side(), SectionComparison::Foreground);
    EXPECT_TRUE(QTest::qWaitFor([&] { return side() == SectionComparison::Background; }));
    EXPECT_TRUE(QTest::qWaitFor([&] { return side() == SectionComparison::Foreground; }));
    trigger(mediator().commands(), "view.checkerboard");
    EXPECT_FALSE(canvas().isBlinking());
    EXPECT_FALSE(mediator().commands().action("view.blink").isChecked());
    canvas().repaint();
    const QImage squares = canvas().displayImage();
    canvas().setComparison(SectionComparison::Foreground);
    canvas().repaint();
    const QImage foreground = canvas().displayImage();
    canvas().setComparison(SectionComparison::Background);
    canvas().repaint();
    const QImage background = canvas().displayImage();
    int differing = 0;
    for (int y = 0; y < squares.height(); ++y)
        for (int x = 0; x < squares.width(); ++x) {
            const bool odd = (x / checkerboardSide + y / checkerboardSide) % 2 != 0;
            differing += squares.pixelIndex(x, y) != (odd ? foreground : background).pixelIndex(x, y) ? 1 : 0;
        }
    EXPECT_EQ(differing, 0); // both images cover the same part: neither is moved
    trigger(mediator().commands(), "view.checkerboard");
    EXPECT_EQ(side(), SectionComparison::Overlay);
}

TEST_F(VRLRegistrationWindowTest, scaleChangesThePictureAndNotTheRegistration) {
    window->showSlice(slice(1));
    const QSize shown = canvas().places().backgroundFrame().size(), room = canvas().contentsRect().size();
    EXPECT_TRUE(shown.width() <= room.width() && shown.height() <= room.height()); // seen whole at first
    EXPECT_GT(10 * shown.width(), 5 * room.width());
    canvas().setScale(80);
    mediator().setRegistration(Registration(7.125, -3, 33));
    const int width = canvas().places().backgroundFrame().width();
    const auto turnWheel = [this](int eighths) {
        QWheelEvent wheel(middle(), canvas().mapToGlobal(QPointF(middle())), {}, QPoint(0, eighths), Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&canvas(), &wheel);
    };
    turnWheel(-120);
    EXPECT_EQ(canvas().getScale(), 70u);
    turnWheel(70); // of a touch pad
    EXPECT_EQ(canvas().getScale(), 70u);
    turnWheel(70);
    EXPECT_EQ(canvas().getScale(), 80u);
    click("Bigger");
    EXPECT_EQ(canvas().getScale(), 90u);
    EXPECT_NEAR(canvas().places().backgroundFrame().width(), width * 90 / 80.0, 2);
    for (int i = 0; i < 12; ++i)
        click("Smaller");
    EXPECT_EQ(canvas().getScale(), 10u);
    for (int i = 0; i < 12; ++i)
        click("Bigger");
    EXPECT_EQ(canvas().getScale(), 100u);
    EXPECT_EQ(mediator().getRegistration(), Registration(7.125, -3, 33));
    drag(Qt::LeftButton, middle(), middle() + QPoint(10, 0));
    EXPECT_EQ(mediator().getRegistration().getVerShift(), -3);
}

TEST_F(VRLRegistrationWindowTest, theRestOfTheStackGoesAlongOrStays) {
    auto& follow = *window->getPanel().findChildren<QComboBox*>()[2];
    ASSERT_EQ(follow.itemText(1), "This slice alone");
    setRegistrations(stack, {{}, {3, 1, 10}, {-2, 5, 20}, {4, 4, 300}, {1, 0, 7}});
    std::vector<Vector<float>> before;
    for (int i = 0; i < 5; ++i)
        before.push_back(placeOf(i));
    const auto moved = [&](int i) { return distance(placeOf(i), before[std::size_t(i)]); };

    window->showSlice(slice(2));
    mediator().nudge(10, 0, 0);
    click("Apply");
    for (int i = 2; i < 5; ++i)
        EXPECT_NEAR(moved(i), 10, 0.01) << i;
    trigger(mediator().commands(), "edit.undo");

    follow.setCurrentIndex(1);
    mediator().nudge(10, 0, 25);
    click("Apply");
    EXPECT_NEAR(moved(2), 10, 0.01);
    EXPECT_NEAR(moved(3), 0, 0.01);
    EXPECT_NEAR(moved(4), 0, 0.01);
    trigger(mediator().commands(), "edit.undo");

    follow.setCurrentIndex(2);
    auto& until = *window->getPanel().findChildren<QComboBox*>()[3];
    until.setCurrentIndex(1); // s3
    mediator().nudge(10, 0, 0);
    click("Apply");
    EXPECT_NEAR(moved(3), 10, 0.01);
    EXPECT_NEAR(moved(4), 0, 0.01);
    trigger(mediator().commands(), "edit.undo");

    // A locked slice keeps its registration: it goes along with the one that it lies on.
    SectionMarks::of(stack).setLocked(slice(3), true);
    follow.setCurrentIndex(1);
    mediator().nudge(10, 0, 0);
    click("Apply");
    EXPECT_EQ(own(3), Registration(4, 4, 300));
    EXPECT_NEAR(moved(3), 10, 0.01);
    EXPECT_NEAR(moved(4), 0, 0.01);
}

TEST_F(VRLRegistrationWindowTest, lockedSlicesStay) {
    window->showSlice(slice(1));
    click("Locked");
    EXPECT_FALSE(angle().isEnabled());
    drag(Qt::LeftButton, middle(), middle() + QPoint(20, 10));
    mediator().nudge(1, 1, 1);
    mediator().reset();
    click("Run");
    EXPECT_FALSE(mediator().isRunning());
    EXPECT_FALSE(mediator().isPending());
    EXPECT_FALSE(isEnabled(mediator().commands(), "nudge.left"));
    click("Next");
    EXPECT_TRUE(angle().isEnabled());
    click("Prev");
    EXPECT_TRUE(button("Locked")->isEnabled());
    click("Locked");
    EXPECT_TRUE(angle().isEnabled());
}

TEST_F(VRLRegistrationWindowTest, registersOneSliceAndUndoesIt) {
    const std::string before = bytes();
    window->showSlice(slice(2));
    click("Run");
    EXPECT_TRUE(mediator().isRunning());
    EXPECT_EQ(window->getStatusBar().message(), "Running automatic registration...");
    EXPECT_TRUE(window->findChildren<QPushButton*>().contains(button("Run")));
    EXPECT_FALSE(button("Run")->isEnabled());
    EXPECT_FALSE(button("Apply")->isEnabled());
    waitForRun();
    EXPECT_NEAR(own(2).getHorShift(), 6, 0.5);
    EXPECT_NEAR(own(2).getVerShift(), -4, 0.5);
    EXPECT_TRUE(own(1).isNull());
    EXPECT_TRUE(button("Run")->isEnabled());
    EXPECT_GT(SectionMarks::of(stack).score(slice(2)), 0.9);
    trigger(mediator().commands(), "edit.undo");
    EXPECT_EQ(bytes(), before);
}

TEST_F(VRLRegistrationWindowTest, registersAllSlicesInOneStep) {
    const std::string before = bytes();
    click("Register all slices");
    click("Run");
    waitForRun();
    EXPECT_NEAR(own(2).getHorShift(), 6, 0.5);
    EXPECT_NEAR(own(3).getRotationAngle(), 350, 0.5);
    EXPECT_EQ(mediator().getSlice(), &slice(4));
    EXPECT_LT(distance(placeOf(4), placeOf(0)), 0.6f);
    trigger(mediator().commands(), "edit.undo");
    EXPECT_EQ(bytes(), before);
    EXPECT_FALSE(stack.history()->isUndoable());
}

TEST_F(VRLRegistrationWindowTest, aRunKeepsToItsRangeAndMethodAndIsReported) {
    const auto choose = [this](const char* name, const QString& text) {
        auto* const choice = window->findChild<QComboBox*>(name);
        ASSERT_NE(choice, nullptr) << name;
        EXPECT_TRUE(choice->isEnabled()) << name;
        choice->setCurrentText(text);
        EXPECT_EQ(choice->currentText(), text);
    };
    EXPECT_FALSE(window->findChild<QComboBox*>("firstSlice")->isEnabled()); // of one slice there is no range
    click("Register all slices");
    EXPECT_FALSE(window->findChild<QComboBox*>("fixedSlice")->isEnabled());
    choose("method", "Features");
    choose("reference", "One slice");
    choose("fixedSlice", "s1");
    choose("firstSlice", "s2"); // the wrong way round
    choose("lastSlice", "s1");
    const Registration third = own(3), fourth = own(4);
    click("Run");
    waitForRun();
    EXPECT_NEAR(own(2).getHorShift(), 6, 0.5); // whatever the slices behind the range say
    EXPECT_EQ(own(3), third);
    EXPECT_EQ(own(4), fourth);

    auto* const dialog = window->findChild<RegistrationReportDialog*>();
    ASSERT_NE(dialog, nullptr);
    EXPECT_TRUE(dialog->isVisible());
    auto* const table = dialog->findChild<QTableWidget*>();
    ASSERT_EQ(table->rowCount(), 5);
    EXPECT_EQ(table->item(2, 0)->text(), "s2");
    EXPECT_EQ(table->item(2, 1)->text(), "registered");
    EXPECT_EQ(table->item(2, 6)->text(), "features");
    EXPECT_LT(table->item(2, 3)->text().toDouble(), table->item(2, 4)->text().toDouble());
    EXPECT_EQ(table->item(3, 1)->text(), "locked");
    EXPECT_EQ(table->item(0, 3)->text(), "NA");
    emit table->cellDoubleClicked(1, 0);
    EXPECT_EQ(mediator().getSlice(), &slice(1));
    auto* const plot = dialog->findChild<ReportPlot*>();
    QTest::mouseClick(plot, Qt::LeftButton, {}, QPoint(plot->width() - 14, plot->height() / 2));
    EXPECT_EQ(mediator().getSlice(), &slice(4));
    if (qEnvironmentVariableIsSet("VORLEN_PICTURES")) {
        window->grab().save(qEnvironmentVariable("VORLEN_PICTURES") + "/window.png");
        dialog->grab().save(qEnvironmentVariable("VORLEN_PICTURES") + "/report.png");
    }
}

TEST_F(VRLRegistrationWindowTest, aRunThatIsCancelledKeepsWhatIsDone) {
    window->showSlice(slice(1));
    trigger(mediator().commands(), "registration.runAll");
    EXPECT_TRUE(isEnabled(mediator().commands(), "registration.cancelRun"));
    mediator().cancelAutomaticRegistration();
    waitForRun();
    EXPECT_TRUE(window->getStatusBar().message().startsWith("Cancelled: "))
        << window->getStatusBar().message().toStdString();
    EXPECT_TRUE(button("Run")->isEnabled());
    // Closed in the middle of a run.
    trigger(mediator().commands(), "registration.runAll");
    window->close();
    sendDeletions();
    EXPECT_EQ(window, nullptr);
}

TEST_F(VRLRegistrationWindowTest, aCancelledRunLeavesTheUserWhereTheWorkIs) {
    window->showSlice(slice(3));
    trigger(mediator().commands(), "registration.runAll");
    EXPECT_EQ(mediator().getSlice(), &slice(1));
    mediator().cancelAutomaticRegistration();
    waitForRun();
    int last = 3;
    for (int i = 1; i < 5; ++i)
        if (!own(i).isNull())
            last = i;
    EXPECT_EQ(mediator().getSlice(), &slice(last));
    trigger(mediator().commands(), "registration.runAll");
    waitForRun();
    EXPECT_TRUE(window->getStatusBar().message().endsWith(" registered."));
    trigger(mediator().commands(), "edit.undo");
    EXPECT_EQ(window->getStatusBar().message(), ""); // they are registered no more
}

TEST_F(VRLRegistrationWindowTest, theWheelScrollsTheControlsAndChangesNone) {
    window->resize(900, 500);
    window->showSlice(slice(1));
    QCoreApplication::processEvents();
    auto* const area = window->findChild<QScrollArea*>();
    ASSERT_GT(area->verticalScrollBar()->maximum(), 0);
    for (QComboBox* box : window->findChildren<QComboBox*>()) {
        const int before = box->currentIndex(), scrolled = area->verticalScrollBar()->value();
        QWheelEvent wheel(QPointF(5, 5), box->mapToGlobal(QPointF(5, 5)), {}, QPoint(0, scrolled > 0 ? 120 : -120),
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(box, &wheel);
        EXPECT_EQ(box->currentIndex(), before) << box->currentText().toStdString();
        EXPECT_NE(area->verticalScrollBar()->value(), scrolled) << box->currentText().toStdString();
    }
    EXPECT_EQ(mediator().getSlice(), &slice(1));
}

TEST_F(VRLRegistrationWindowTest, isNoLampAmongDarkWindows) {
    window->showSlice(slice(2));
    mediator().setRegistration(Registration(10, 5, 20));
    const auto corner = [this] {
        const QImage shown = canvas().grab().toImage();
        return shown.pixelColor(canvas().contentsRect().topLeft() + QPoint(3, 3));
    };
    const auto centre = [this] { return canvas().grab().toImage().pixelColor(middle()); };
    EXPECT_EQ(corner(), QColor(Qt::white));
    const QColor section = centre();
    const QImage display = canvas().displayImage();
    QPalette dark = window->palette();
    dark.setColor(QPalette::Base, QColor(30, 33, 36));
    window->setPalette(dark);
    EXPECT_EQ(corner(), QColor(30, 33, 36));
    EXPECT_EQ(centre(), section);
    EXPECT_EQ(canvas().displayImage(), display);
    if (qEnvironmentVariableIsSet("VORLEN_PICTURES"))
        canvas().grab().save(qEnvironmentVariable("VORLEN_PICTURES") + "/dark.png");
    canvas().setCanvasMode(ForegroundMode);
    EXPECT_EQ(corner(), QColor(30, 33, 36));
}

TEST_F(VRLRegistrationWindowTest, aStackThatClosesTakesTheWindowAlongEvenInARun) {
    window->showSlice(slice(1));
    angle().setValue(5);
    trigger(mediator().commands(), "registration.runAll"); // applies first
    VRLStackServer::stackServer.removeStack(stack);
    sendDeletions();
    EXPECT_EQ(window, nullptr);
}

TEST_F(VRLRegistrationWindowTest, aSliceThatGoesIsNotShownAnyMore) {
    window->showSlice(slice(2));
    deleteSlices(stack, {&slice(1)}); // the background: the slice lies on another one now
    EXPECT_EQ(rows(), (QStringList{"s4", "s3", "s2"}));
    EXPECT_EQ(canvas().backgroundSlice(), &slice(0));
    EXPECT_EQ(fields()[1], "s0");
    deleteSlices(stack, {&slice(1)});
    EXPECT_EQ(mediator().getSlice(), nullptr);
    EXPECT_EQ(canvas().foregroundSlice(), nullptr);
    stack.history()->undo();
    EXPECT_EQ(rows(), (QStringList{"s4", "s3", "s2"}));
    window->showSlice(slice(2));
    deleteSlices(stack, {&slice(1), &slice(2), &slice(3)});
    QCoreApplication::processEvents();
    sendDeletions();
    EXPECT_EQ(window, nullptr); // nothing is left to be registered
}

TEST_F(VRLRegistrationWindowTest, aRefusedRegistrationKeepsTheSliceCurrent) {
    window->showSlice(slice(1));
    angle().setValue(5);
    stack.setReadOnly("The stack is read only");
    user.thenClick("OK");
    click("Next");
    EXPECT_EQ(mediator().getSlice(), &slice(1));
    EXPECT_EQ(list().currentItem()->text(), "s1");
    EXPECT_TRUE(mediator().isPending());
    EXPECT_NE(user.seen.back().find("read only"), std::string::npos) << user.seen.back();
    click("Restore");
    click("Next");
    EXPECT_EQ(mediator().getSlice(), &slice(2));
}

TEST_F(VRLRegistrationWindowTest, anImageThatCannotBeReadIsTold) {
    std::filesystem::remove(folder.file("s3.tif"));
    user.thenClick("OK");
    window->showSlice(slice(3));
    EXPECT_NE(user.seen.back().find("s3"), std::string::npos) << user.seen.back();
    window->showSlice(slice(1));
    EXPECT_EQ(mediator().getSlice(), &slice(1));
}

// Four pairs as the third slice lies, by (6, -4), and one where the hand has slipped.
TEST_F(VRLRegistrationWindowTest, fitsLandmarksAndLeavesABadPairOut) {
    window->showSlice(slice(2));
    const auto at = [](QPointF place) { return place.toPoint(); };
    trigger(mediator().commands(), "landmarks.set");
    EXPECT_EQ(canvas().getComparison(), SectionComparison::Background);
    const QPointF spots[] = {{60, 50}, {160, 30}, {190, 115}, {100, 125}, {125, 75}};
    for (int i = 0; i < 5; ++i) {
        QTest::mouseClick(&canvas(), Qt::LeftButton, Qt::NoModifier, at(canvas().backgroundToCanvas(spots[i])));
        EXPECT_EQ(canvas().getComparison(), SectionComparison::Foreground);
        EXPECT_EQ(window->getStatusBar().message(), "Foreground: click the same spot.");
        const QPointF seen = spots[i] - QPointF(6, -4) + (i == 4 ? QPointF(40, 25) : QPointF());
        QTest::mouseClick(&canvas(), Qt::LeftButton, Qt::NoModifier, at(canvas().foregroundToCanvas(seen)));
    }
    QTest::mouseClick(&canvas(), Qt::LeftButton, Qt::NoModifier, middle()); // begun, and not completed
    EXPECT_TRUE(mediator().getRegistration().isNull());                     // a click is no drag
    auto& table = *window->getLandmarkPanel().findChild<QTableWidget*>();
    EXPECT_EQ(table.rowCount(), 6);
    EXPECT_EQ(table.item(5, 1)->text(), "click it");
    click("Fit");
    EXPECT_FALSE(canvas().isLandmarkMode());
    EXPECT_NEAR(mediator().getRegistration().getHorShift(), 6, 0.5);
    EXPECT_NEAR(mediator().getRegistration().getVerShift(), -4, 0.5);
    EXPECT_LT(std::abs(std::remainder(double(mediator().getRegistration().getRotationAngle()), 360)), 0.5);
    ASSERT_EQ(mediator().getLandmarks().size(), 5u);
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(mediator().getLandmarks()[std::size_t(i)].used) << i;
        EXPECT_LT(mediator().getLandmarks()[std::size_t(i)].residual, 0.6) << i;
    }
    EXPECT_FALSE(mediator().getLandmarks()[4].used);
    EXPECT_NEAR(mediator().getLandmarks()[4].residual, std::hypot(40, 25), 1);
    EXPECT_TRUE(table.item(4, 2)->text().endsWith(" out"));
    EXPECT_TRUE(own(2).isNull()); // until it is applied
    click("Apply");
    EXPECT_NEAR(own(2).getHorShift(), 6, 0.5);

    table.selectRow(4);
    click("Delete");
    EXPECT_EQ(mediator().getLandmarks().size(), 4u);
    click("Next");
    EXPECT_EQ(table.rowCount(), 0);
    click("Prev");
    EXPECT_EQ(table.rowCount(), 4);
    click("Clear");
    EXPECT_EQ(table.rowCount(), 0);
    EXPECT_FALSE(button("Fit")->isEnabled());
}

TEST_F(VRLRegistrationWindowTest, listsTheWorstFitFirstOnRequest) {
    SectionMarks& marks = SectionMarks::of(stack);
    EXPECT_TRUE(QTest::qWaitFor([&] { return marks.withoutScore().empty(); }, 60000)); // found by itself
    const double scores[] = {0, 0.8, 0.3, 0.9, 0.5};
    for (int i = 1; i < 5; ++i)
        marks.setScore(&slice(i), own(i), scores[i]);
    window->showSlice(slice(3));
    click("Worst fit first");
    EXPECT_EQ(rows(), (QStringList{"s2", "s4", "s1", "s3"}));
    EXPECT_EQ(list().currentItem()->text(), "s3");
    marks.setScore(&slice(3), own(3), 0.1); // what is found later takes its place
    EXPECT_EQ(rows(), (QStringList{"s3", "s2", "s4", "s1"}));
    EXPECT_EQ(list().currentItem()->text(), "s3");
    EXPECT_EQ(mediator().getSlice(), &slice(3));
    marks.setScore(&slice(3), own(3), 0.9);
    marks.setScore(&slice(2), own(2), SectionMarks::incomparable); // no bad fit
    EXPECT_EQ(rows(), (QStringList{"s4", "s1", "s3", "s2"}));
    marks.setScore(&slice(2), own(2), 0.3);
    list().setCurrentRow(0);
    EXPECT_EQ(mediator().getSlice(), &slice(2));
    trigger(mediator().commands(), "slice.worstFirst");
    EXPECT_EQ(rows(), (QStringList{"s4", "s3", "s2", "s1"}));
    mediator().nudge(30, 0, 0);
    click("Apply");
    EXPECT_LT(marks.score(slice(2)), 0); // not that of the new registration
    EXPECT_EQ(marks.score(slice(3)), 0.9);
}

TEST_F(VRLRegistrationWindowTest, cutsShowTheStackAsItIsRegistered) {
    trigger(mediator().commands(), "view.strips");
    EXPECT_TRUE(window->getStrips().isVisible());
    EXPECT_TRUE(QTest::qWaitFor([this] { return window->getStrips().isComplete(); }, 60000));
    window->showSlice(slice(1));
    const auto rowOf = [this](int place) {
        window->getStrips().repaint();
        const QImage cut = window->getStrips().cut(0);
        EXPECT_EQ(cut.height(), 5);
        std::vector<QRgb> line;
        line.reserve(std::size_t(cut.width()));
        for (int x = 0; x < cut.width(); ++x)
            line.push_back(cut.pixel(x, 4 - place));
        return line;
    };
    const std::vector<QRgb> first = rowOf(0);
    EXPECT_GT(std::set<QRgb>(first.begin(), first.end()).size(), 20u); // some picture
    EXPECT_EQ(rowOf(1), first);                                        // of the same tissue
    mediator().nudge(50, 0, 0);                                        // before it is applied
    EXPECT_NE(rowOf(1), rowOf(0));
    mediator().nudge(-50, 0, 0);
    EXPECT_EQ(rowOf(1), rowOf(0));
    QTest::mouseDClick(&window->getStrips(), Qt::LeftButton, Qt::NoModifier,
                       QPoint(100, window->getStrips().height() - 12 - window->getStrips().height() / 4));
    EXPECT_EQ(mediator().getSlice(), &slice(1));
}

TEST_F(VRLRegistrationWindowTest, bendsTheSlicesIntoANewStackThatIsOpened) {
    const std::string before = bytes();
    const QString file = QString::fromStdString(folder.file("bent/pile.sdf"));
    std::filesystem::create_directory(folder.file("bent"));
    const auto bendInto = [&](const QString& name) {
        user.then([name](QWidget& dialog) {
            auto* const field = dialog.findChild<QLineEdit*>("bentFile");
            ASSERT_NE(field, nullptr);
            field->setText(name);
            QPushButton* bend = nullptr;
            for (auto* button : dialog.findChildren<QPushButton*>())
                bend = button->text() == "Bend" ? button : bend;
            ASSERT_NE(bend, nullptr);
            field->setText(name + "/no/such/folder/x.sdf");
            EXPECT_FALSE(bend->isEnabled());
            field->setText(name);
            EXPECT_TRUE(bend->isEnabled());
            bend->click();
        });
        click("Bend slices...");
    };
    bendInto(file);
    EXPECT_TRUE(mediator().isRunning());
    EXPECT_FALSE(button("Bend slices...")->isEnabled());
    trigger(mediator().commands(), "registration.cancelRun");
    waitForRun();
    EXPECT_EQ(window->getStatusBar().message(), "Cancelled: no slice was bent.");
    EXPECT_TRUE(std::filesystem::is_empty(folder.file("bent")));
    EXPECT_EQ(VRLStackServer::stackServer.getNumStacks(), 1);

    bendInto(file);
    waitForRun();
    ASSERT_EQ(VRLStackServer::stackServer.getNumStacks(), 2);
    const VRLStack& bent = VRLStackServer::stackServer.getStack(1);
    EXPECT_EQ(bent.getFilename(), file.toStdString());
    EXPECT_EQ(bent.getName(), "pile (bent)");
    ASSERT_EQ(bent.getNumSlices(), 5);
    EXPECT_TRUE(std::filesystem::exists(folder.file("bent/pile.fields")));
    // The third slice lay 7 pixels off.
    EXPECT_LT(registrationScore(slice(2), slice(1), own(2)), 0.9);
    EXPECT_GT(registrationScore(bent.getSlice(2), bent.getSlice(1), bent.getSlice(2).getRegistration()), 0.95);
    EXPECT_EQ(bytes(), before);
    EXPECT_TRUE(window->getStatusBar().message().endsWith(file)) << window->getStatusBar().message().toStdString();
}

TEST_F(VRLRegistrationWindowTest, keepsItsPlace) {
    window->move(37, 41);
    window->resize(700, 500);
    QCoreApplication::processEvents();
    const QSettings settings;
    EXPECT_EQ(settings.value("registrationWindow/pos").toPoint(), window->pos());
    EXPECT_EQ(settings.value("registrationWindow/size").toSize(), window->size());
}

} // namespace vorlen
