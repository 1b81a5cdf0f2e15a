#include <QApplication>
#include <QColorDialog>
#include <QDialog>
#include <QFileDialog>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QSettings>
#include <QSignalSpy>
#include <QSlider>
#include <QSpinBox>
#include <QTest>
#include <QTimer>
#include <QToolTip>
#include <QVBoxLayout>
#include <QWindow>

#include <gtest/gtest.h>

#include "ui/widgets/colorselector.h"
#include "ui/widgets/elidedline.h"
#include "ui/widgets/letterkeys.h"
#include "ui/widgets/placedwindow.h"
#include "ui/widgets/qinputbox.h"
#include "ui/widgets/stilllook.h"
#include "ui/widgets/vrldecimalbox.h"
#include "ui/widgets/vrlmenu.h"
#include "ui/widgets/vrlsplitter.h"

namespace vorlen {

TEST(QInputBox, sliderAndSpinBoxFollowEachOtherAndAChangeIsToldOnce) {
    QInputBox box("Zoom", nullptr, -10, 200, "%");
    QSignalSpy changes(&box, &QInputBox::valueChanged);
    EXPECT_EQ(box.getValue(), 0);
    box.findChild<QSlider*>()->setValue(50);
    EXPECT_EQ(box.getValue(), 50);
    ASSERT_EQ(changes.count(), 1);
    EXPECT_EQ(changes.last()[0].toInt(), 50);
    box.setValue(70);
    EXPECT_EQ(box.findChild<QSlider*>()->value(), 70);
    EXPECT_EQ(changes.count(), 2);
    box.setMaximum(60);
    EXPECT_EQ(box.getValue(), 60);
    EXPECT_EQ(box.findChild<QSlider*>()->value(), 60);
    EXPECT_EQ(changes.count(), 3);
    box.setMinimum(65); // above the maximum, which follows
    EXPECT_EQ(box.getValue(), 65);
}

TEST(VorlenApplication, noWindowBeginsLargerThanItsScreen) {
    const QRect room = QGuiApplication::primaryScreen()->availableGeometry();
    QDialog dialog;
    dialog.resize(5000, 300);
    QWidget window;
    window.setGeometry(100, 200, 300, 5000);
    dialog.show();
    window.show();
    EXPECT_EQ(dialog.size(), QSize(room.width(), 300));
    EXPECT_EQ(window.size(), QSize(300, room.height()));
    EXPECT_TRUE(room.contains(dialog.geometry()));
    EXPECT_TRUE(room.contains(window.geometry()));
}

TEST(VorlenApplication, aDialogThatNeedsMoreThanTheScreenScrolls) {
    const QRect room = QGuiApplication::primaryScreen()->availableGeometry();
    QDialog dialog;
    auto* const layout = new QVBoxLayout(&dialog);
    for (int i = 0; i < 3; ++i) {
        auto* const field = new QLineEdit(&dialog);
        field->setMinimumHeight(600);
        layout->addWidget(field);
    }
    dialog.show();
    QCoreApplication::processEvents();
    EXPECT_TRUE(room.contains(dialog.geometry()));
    auto* const view = dialog.findChild<QScrollArea*>();
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->findChildren<QLineEdit*>().size(), 3);
    EXPECT_EQ(view->horizontalScrollBar()->maximum(), 0); // wide enough for the bar beside the fields
    EXPECT_GT(view->verticalScrollBar()->maximum(), 0);
    dialog.hide();
    dialog.show();
    EXPECT_EQ(dialog.findChildren<QScrollArea*>().size(), 1); // once
}

TEST(VorlenApplication, whatIsTypedIntoADialogTakesThePlaceOfItsFirstField) {
    QDialog dialog;
    auto* const layout = new QVBoxLayout(&dialog);
    auto* const number = new VRLDecimalBox(&dialog);
    number->setValue(1);
    auto* const other = new QLineEdit("other", &dialog);
    layout->addWidget(number);
    layout->addWidget(other);
    dialog.show();
    dialog.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    ASSERT_TRUE(QTest::qWaitFor([number] { return number->hasFocus(); }));
    QTest::qWait(20);
    QTest::keyClicks(number, "0,7");
    EXPECT_EQ(number->value(), 0.7);
    other->setFocus();
    other->setCursorPosition(5);
    QEvent back(QEvent::WindowActivate);
    QCoreApplication::sendEvent(&dialog, &back);
    QTest::qWait(20);
    QTest::keyClicks(other, "s");
    EXPECT_EQ(other->text(), "others"); // who comes back goes on
}

TEST(StillLook, holdsPanelsUntilTheyAreReleasedOrTheLockLastsOrTheSizeChanges) {
    QWidget window;
    window.resize(200, 100);
    auto* const panel = new QSpinBox(&window);
    panel->setGeometry(0, 0, 80, 80);
    auto* const canvas = new QWidget(&window);
    canvas->setGeometry(100, 0, 100, 100);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    StillLook look(window);
    look.hold({panel, nullptr});
    EXPECT_TRUE(look.isHolding() && !panel->updatesEnabled());
    look.release();
    EXPECT_TRUE(!look.isHolding() && panel->updatesEnabled());
    look.hold({panel});
    EXPECT_TRUE(QTest::qWaitFor([&] { return panel->updatesEnabled(); }));
    // As long as a stroke takes, whose button is down elsewhere.
    QTest::mouseMove(window.windowHandle(), QPoint(150, 50));
    QTest::mousePress(window.windowHandle(), Qt::LeftButton, {}, QPoint(150, 50));
    look.hold({panel});
    QTest::qWait(2 * StillLook::patience);
    EXPECT_TRUE(look.isHolding());
    QTest::mouseRelease(window.windowHandle(), Qt::LeftButton, {}, QPoint(150, 50));
    EXPECT_TRUE(QTest::qWaitFor([&] { return panel->updatesEnabled(); }));
    look.hold({panel});
    panel->resize(70, 90); // a part of it was never painted
    EXPECT_TRUE(panel->updatesEnabled());
    look.hold({panel});
    window.resize(300, 100);
    EXPECT_TRUE(QTest::qWaitFor([&] { return panel->updatesEnabled(); }, StillLook::patience / 2));
    look.hold({panel});
    QDialog dialog(&window);
    dialog.open();
    EXPECT_TRUE(panel->updatesEnabled());
    dialog.close();
    look.hold({panel});
    delete panel;
    look.release();
}

TEST(LetterKeys, lettersThatAreKeysActBesideAListAndAllOthersAreItsOwn) {
    QWidget window;
    auto* const layout = new QVBoxLayout(&window);
    auto* const list = new QListWidget(&window);
    list->addItems({"alpha", "beta", "gamma"});
    auto* const canvas = new QWidget(&window);
    canvas->setFocusPolicy(Qt::StrongFocus);
    layout->addWidget(list);
    layout->addWidget(canvas);
    QStringList done;
    for (const char* const keys : {"B", "Shift+G", "Del", "Ctrl+V", "Space"}) {
        auto* const action = new QAction(canvas);
        action->setShortcut(QKeySequence(keys));
        action->setShortcutContext(Qt::WidgetShortcut);
        QObject::connect(action, &QAction::triggered, canvas, [&done, keys] { done += keys; });
        canvas->addAction(action);
    }
    new LetterKeys(*list, *canvas);
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    list->setFocus();
    QTest::keyClick(list, Qt::Key_G, Qt::NoModifier);
    EXPECT_EQ(list->currentRow(), 2); // searched for
    QTest::keyClick(list, Qt::Key_Up);
    QTest::keyClick(list, Qt::Key_Delete);
    QTest::keyClick(list, Qt::Key_V, Qt::ControlModifier);
    QTest::keyClick(list, Qt::Key_Space);
    EXPECT_TRUE(list->hasFocus());
    EXPECT_EQ(list->currentRow(), 1);
    EXPECT_EQ(done, QStringList());
    QTest::keyClick(list, Qt::Key_B);
    EXPECT_EQ(done, QStringList({"B"}));
    EXPECT_TRUE(canvas->hasFocus());
    list->setFocus();
    QTest::keyClick(list, Qt::Key_G, Qt::ShiftModifier);
    EXPECT_EQ(done, QStringList({"B", "Shift+G"}));
    canvas->hide();
    list->setFocus();
    QTest::keyClick(list, Qt::Key_B);
    EXPECT_EQ(done.size(), 2);
}

TEST(ElidedLine, takesASecondLineByItsWidthAloneAndShowsTheEndThere) {
    QWidget window;
    auto* const layout = new QVBoxLayout(&window);
    auto* const line = new ElidedLine(&window);
    line->setRoomFor(60);
    layout->addWidget(line);
    layout->addStretch(1);
    const int character = line->fontMetrics().averageCharWidth();
    window.resize(90 * character, 200);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    const int one = line->height();
    window.resize(40 * character, 200);
    EXPECT_TRUE(QTest::qWaitFor([&] { return line->height() > one + line->fontMetrics().height() / 2; }));
    const int two = line->height();
    line->setLine("Short.");
    QTest::qWait(20);
    EXPECT_EQ(line->height(), two);
    const auto seen = [line](const QString& text) {
        line->setLine(text);
        return line->grab().toImage();
    };
    const QString begin = "Click for vertices, or hold the button; close ";
    EXPECT_NE(seen(begin + "it by Return."), seen(begin + "it by Space."));
    const QString words = QString("word ").repeated(40);
    EXPECT_EQ(seen(words + "a"), seen(words + "b")); // elided
}

TEST(VorlenApplication, aDialogOfFilesHasRoomAndKeepsTheSizeThatTheUserGivesIt) {
    QSettings().remove("fileDialogs/size");
    const auto show = [](const QSize& given) {
        QFileDialog dialog;
        dialog.setOption(QFileDialog::DontUseNativeDialog);
        dialog.show();
        const QSize size = dialog.size();
        if (given.isValid())
            dialog.resize(given);
        dialog.hide();
        return size;
    };
    EXPECT_EQ(show({}), QSize(800, 520));
    EXPECT_EQ(show(QSize(700, 600)), QSize(800, 520));
    EXPECT_EQ(show({}), QSize(700, 600));
    QSettings().setValue("fileDialogs/size", QSize(100000, 2)); // of another screen
    const QSize last = show({});
    EXPECT_LE(last.width(), QGuiApplication::primaryScreen()->availableSize().width());
    EXPECT_GT(last.height(), 100);
    QSettings().remove("fileDialogs/size");
}

TEST(VorlenApplication, textsWithMarksAreShownAsTheyAre) {
    QMessageBox box(QMessageBox::Warning, "Title", "<b>cell</b> & <i>wall</i>", QMessageBox::Ok);
    box.show();
    EXPECT_EQ(box.textFormat(), Qt::PlainText);
    const auto* const shown = box.findChild<QLabel*>("qt_msgbox_label");
    ASSERT_NE(shown, nullptr);
    EXPECT_EQ(shown->textFormat(), Qt::PlainText);
    QLabel name("<b>cell</b>"), marked("<b>cell</b>");
    marked.setTextFormat(Qt::RichText);
    name.show();
    marked.show();
    EXPECT_GT(name.sizeHint().width(), marked.sizeHint().width());
    // A tip is a label of its own, which has to be as plain.
    QWidget window;
    window.show();
    const QString tip = "<b>bold</b> &amp; a long name";
    QToolTip::showText(window.mapToGlobal(QPoint(3, 3)), tip, &window);
    QLabel* seen = nullptr;
    for (QWidget* const top : QApplication::topLevelWidgets())
        if (auto* const one = qobject_cast<QLabel*>(top); one != nullptr && one->inherits("QTipLabel"))
            seen = one;
    ASSERT_NE(seen, nullptr);
    EXPECT_EQ(seen->text(), tip);
    EXPECT_EQ(seen->textFormat(), Qt::PlainText);
    QToolTip::hideText();
}

/// As it is left by a dialog of files in which a name was typed and taken by Return.
TEST(VorlenApplication, aWindowWithoutFocusGetsItBackByTheNextKeyOrClick) {
    QWidget window;
    QLineEdit field(&window);
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    field.setFocus();
    const auto loseFocus = [] {
        QApplication::setActiveWindow(nullptr);
        ASSERT_EQ(QApplication::focusWidget(), nullptr);
    };
    loseFocus();
    QTest::keyClick(window.windowHandle(), Qt::Key_B);
    EXPECT_EQ(QApplication::focusWidget(), &field);
    EXPECT_EQ(field.text(), "b");
    loseFocus();
    QTest::mouseClick(window.windowHandle(), Qt::LeftButton, {}, field.geometry().center());
    EXPECT_EQ(QApplication::focusWidget(), &field);
}

TEST(PlacedWindow, aMaximizedOneIsSoAgainAndKeepsThePlaceToComeBackTo) {
    QSettings().remove("testWindow");
    const QRect usual(40, 30, 300, 200);
    {
        QWidget window;
        keepPlace(window, "testWindow", QSize(300, 200));
        window.setGeometry(usual);
        window.show();
        QTest::qWait(400);        // it rests
        window.resize(1000, 800); // the news of the size comes first
        window.setWindowState(Qt::WindowMaximized);
        QCoreApplication::processEvents();
    }
    EXPECT_EQ(QSettings().value("testWindow/size").toSize(), usual.size());
    EXPECT_EQ(QSettings().value("testWindow/pos").toPoint(), usual.topLeft());
    QWidget again;
    keepPlace(again, "testWindow", QSize(500, 500));
    EXPECT_TRUE(again.isMaximized());
    again.setWindowState(Qt::WindowNoState);
    QWidget third;
    keepPlace(third, "testWindow", QSize(500, 500));
    EXPECT_FALSE(third.isMaximized());
    EXPECT_EQ(third.size(), usual.size());
}

TEST(VRLSplitter, comesBackAsItWasLeft) {
    QSettings().remove("testSplitter");
    const auto sizesAfter = [](int moveTo) {
        VRLSplitter splitter("testSplitter", Qt::Horizontal);
        splitter.addWidget(new QWidget, 250);
        splitter.addWidget(new QWidget, 750);
        splitter.resize(1005, 100);
        splitter.restore();
        splitter.show();
        if (moveTo > 0) {
            // As the user's drag does it.
            QSplitterHandle* handle = splitter.handle(1);
            const QPoint middle(handle->width() / 2, handle->height() / 2);
            QTest::mousePress(handle, Qt::LeftButton, {}, middle);
            QTest::mouseMove(handle, middle + QPoint(moveTo - handle->x(), 0));
            QTest::mouseRelease(handle, Qt::LeftButton, {}, middle);
        }
        return splitter.sizes();
    };
    EXPECT_NEAR(sizesAfter(0)[0], 250, 3);
    EXPECT_NEAR(sizesAfter(400)[0], 400, 3);
    EXPECT_NEAR(sizesAfter(0)[0], 400, 3);
}

TEST(VRLMenu, tellsTheTextThatWasChosen) {
    VRLMenu menu("Recent");
    QSignalSpy chosen(&menu, qOverload<const QString&>(&VRLMenu::triggered));
    menu.addAction("/home/a/one.sdf")->trigger();
    QAction* escaped = menu.addAction("/home/R&&D/two.sdf");
    escaped->setData("/home/R&D/two.sdf");
    escaped->trigger();
    ASSERT_EQ(chosen.count(), 2);
    EXPECT_EQ(chosen[0][0].toString(), "/home/a/one.sdf");
    EXPECT_EQ(chosen[1][0].toString(), "/home/R&D/two.sdf");
}

TEST(ColorSelector, aClickAsksForAColourAndACancelKeepsIt) {
    ColorSelector selector;
    selector.setColor(QColor(10, 20, 30));
    selector.show();
    QSignalSpy chosen(&selector, &ColorSelector::valueChanged);
    const auto answer = [](bool accept) {
        QTimer::singleShot(0, [accept] {
            auto* dialog = qobject_cast<QColorDialog*>(QApplication::activeModalWidget());
            ASSERT_NE(dialog, nullptr);
            dialog->setCurrentColor(QColor(200, 100, 50));
            accept ? dialog->accept() : dialog->reject();
        });
    };
    answer(false);
    selector.click();
    EXPECT_EQ(selector.getColor(), QColor(10, 20, 30));
    EXPECT_EQ(chosen.count(), 0);
    answer(true);
    selector.click();
    EXPECT_EQ(selector.getColor(), QColor(200, 100, 50));
    EXPECT_EQ(chosen.count(), 1);
    const QColor shown = selector.grab().toImage().pixelColor(selector.rect().center());
    // The style shades the button's face.
    EXPECT_NEAR(shown.hue(), QColor(200, 100, 50).hue(), 6);
    EXPECT_GT(shown.saturation(), 100);
}

} // namespace vorlen
