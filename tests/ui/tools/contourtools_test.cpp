#include "ui/slices/drawingfixture.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include <QCheckBox>
#include <QContextMenuEvent>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>

#include "editing/bus/vrlmodelevent.h"
#include "editing/operations/contouroperations.h"
#include "editing/operations/outcome.h"
#include "numerics/exception.h"
#include "shapes/curve.h"
#include "support/dialogdriver.h"
#include "support/modalscript.h"
#include "ui/tools/vrlcopydialog.h"
#include "ui/tools/vrlcurveresamplingdialog.h"
#include "ui/tools/vrlfourierdialog.h"
#include "ui/tools/vrlsliceeditwidgetmediatordialogdelegate.h"
#include "ui/tools/vrlsliceeditwidgetmediatorsplitdelegate.h"

namespace vorlen {

namespace {

class ContourToolsTest : public DrawingTest {
protected:
    /// Triggers the command; the script then works on its dialog and presses the button.
    void run(const QString& command, const std::function<void(QDialog&)>& work, const QString& button) {
        ModalScript script;
        script.then([&](QWidget& dialog) {
            work(static_cast<QDialog&>(dialog));
            ModalScript::click(dialog, button);
        });
        menuAction(command).trigger();
        QTest::qWait(0);
    }
    QAction& menuAction(const QString& command) {
        const std::unique_ptr<QMenu> menu = mediator->newContextMenu();
        return entry(*entry(*menu, "Edit").menu(), command);
    }
    static QSpinBox& number(const QWidget& dialog, const QString& label) { return control<QSpinBox>(dialog, label); }
    auto previewed() const { return decimals(canvas->getExtraItem()->getVertices()); }
    VRLSliceEditWidgetMediatorSplitDelegate* splitDelegate() const {
        return mediator->findChild<VRLSliceEditWidgetMediatorSplitDelegate*>();
    }
};

struct Tool {
    QString command, title, label;
    int minimum, maximum, start, other;
};

const Tool tools[] = {{"Resample", "Contour resampling", "Vertices", 3, 200, 4, 9},
                      {"Decimate (Douglas-Peucker)", "Douglas-Peucker decimation", "Tolerance (pixels)", 0, 100, 1, 20},
                      {"Change origin", "Contour reparameterization", "Origin", 0, 3, 0, 2},
                      {"Smooth (Fourier)", "Contour smoothing", "Descriptors", 1, 2, 2, 1}};

} // namespace

TEST_F(ContourToolsTest, theDialogsShowTheirRangesAndCancelLeavesTheDocumentAsItWas) {
    for (const Tool& tool : tools) {
        ModelItem& first = addItem(*polygon, *slice, square);
        ModelItem& second = addItem(*polygon, *slice, ring(20));
        select(first);
        const std::string before = text();
        run(
            tool.command,
            [&](QDialog& dialog) {
                EXPECT_EQ(dialog.windowTitle(), tool.title);
                QSpinBox& box = number(dialog, tool.label);
                EXPECT_EQ(box.minimum(), tool.minimum);
                EXPECT_EQ(box.maximum(), tool.maximum);
                EXPECT_EQ(box.value(), tool.start);
                ModelItem* const preview = canvas->getExtraItem();
                ASSERT_NE(preview, nullptr);
                EXPECT_EQ(preview->getModel(), polygon);
                EXPECT_EQ(preview->getSlice(), slice);
                EXPECT_EQ(polygon->placeOf(*preview), 0u);
                const bool smoothing = tool.label == "Descriptors";
                EXPECT_EQ(slice->placeOf(first) != 0, smoothing);
                EXPECT_EQ(preview->getSelection().isComplete(), !smoothing);
                EXPECT_TRUE(statusBar->currentMessage().contains("Cancel"));
                box.setValue(tool.other);
                EXPECT_EQ(verticesOf(first), square);
                EXPECT_EQ(preview->getSelection().isEmpty(), smoothing);
            },
            "Cancel");
        EXPECT_EQ(text(), before);
        ASSERT_EQ(slice->getNumItems(), 2);
        EXPECT_EQ(&slice->getItem(0), &first);
        EXPECT_EQ(&polygon->getItem(0), &first);
        EXPECT_TRUE(first.getSelection().isComplete());
        EXPECT_FALSE(history().isUndoable());
        EXPECT_EQ(canvas->getExtraItem(), nullptr);
        EXPECT_EQ(canvas->findChild<QDialog*>(), nullptr);
        EXPECT_TRUE(action("Resample")->isEnabled());
        EXPECT_TRUE(statusBar->currentMessage().contains("Delete: remove"));
        delete &first;
        delete &second;
    }
}

TEST_F(ContourToolsTest, okGivesTheContourWhatThePreviewShowsInOneStep) {
    for (const Tool& tool : tools) {
        ModelItem& contour = addItem(*polygon, *slice, ring(21));
        ModelItem& behind = addItem(*polygon, *slice, square);
        select(contour);
        std::vector<std::pair<double, double>> shown;
        expectSteps(1, [&] {
            run(
                tool.command,
                [&](QDialog& dialog) {
                    number(dialog, tool.label).setValue(tool.other);
                    shown = previewed();
                    EXPECT_TRUE(statusBar->currentMessage().startsWith(
                        QString("Preview of %1 vertices, in place of 21.").arg(shown.size())));
                },
                "OK");
        });
        EXPECT_NE(shown, decimals(makeVertices(ring(21))));
        EXPECT_EQ(decimals(contour.getVertices()), shown);
        EXPECT_EQ(&slice->getItem(0), &contour);
        EXPECT_EQ(&slice->getItem(1), &behind);
        delete &contour;
        delete &behind;
    }
}

TEST_F(ContourToolsTest, smoothingShowsFidelityAndDescriptorsOfTheSamePreview) {
    ModelItem& contour = addItem(*polygon, *slice, ring(61));
    select(contour);
    const auto filtered = [&](int descriptors) {
        const SmoothedContour smoothed = smoothedContour(makeVertices(ring(61)), descriptors);
        return std::make_pair(decimals(smoothed.vertices), smoothed.fidelity);
    };
    const SmoothedContour faithful = smoothedToFidelity(makeVertices(ring(61)), 0.95f);
    expectSteps(1, [&] {
        run(
            "Smooth (Fourier)",
            [&](QDialog& dialog) {
                QSpinBox& fidelity = number(dialog, "Fidelity");
                QSpinBox& descriptors = number(dialog, "Descriptors");
                EXPECT_EQ(fidelity.value(), 100);
                EXPECT_EQ(fidelity.suffix(), "");
                EXPECT_EQ(descriptors.value(), 30);
                EXPECT_EQ(descriptors.maximum(), 30);
                EXPECT_EQ(previewed(), filtered(30).first);
                descriptors.setValue(1);
                EXPECT_EQ(previewed(), filtered(1).first);
                EXPECT_EQ(fidelity.value(), int(filtered(1).second * 100));
                EXPECT_LT(fidelity.value(), 90);
                fidelity.setValue(95);
                EXPECT_EQ(previewed(), decimals(faithful.vertices));
                EXPECT_EQ(descriptors.value(), faithful.numDescriptors);
                EXPECT_EQ(fidelity.value(), 95);
                EXPECT_GT(descriptors.value(), 1);
                EXPECT_LT(descriptors.value(), 30);
            },
            "OK");
    });
    EXPECT_EQ(decimals(contour.getVertices()), decimals(faithful.vertices));
}

TEST_F(ContourToolsTest, whatIsRefusedIsTold) {
    ModelItem& round = addItem(*polygon, *slice, ring(50));
    select(round);
    ModalScript script;
    script.then([&](QWidget& dialog) {
        number(dialog, "Tolerance (pixels)").setValue(100);
        ModalScript::click(dialog, "OK");
    });
    script.then([&](QWidget& box) {
        EXPECT_EQ(slice->getNumItems(), 1);
        ModalScript::click(box, "OK");
    });
    expectSteps(0, [&] { menuAction("Decimate (Douglas-Peucker)").trigger(); });
    EXPECT_EQ(script.seen.back(), "Douglas-Peucker decimation: Cannot decimate to less than 3 vertices");
}

namespace {

/// A tool whose previews fail from some number on.
class FailingDelegate : public VRLSliceEditWidgetMediatorDialogDelegate {
public:
    FailingDelegate(ToolHost& host, int from) : VRLSliceEditWidgetMediatorDialogDelegate(host), __from(from) {}

protected:
    QDialog* newDialog() override {
        VRLCurveResamplingDialog* const dialog = newNumberDialog("Failing", "Number", 0, 10, 3);
        connect(dialog, &VRLCurveResamplingDialog::numVerticesChanged, this, &FailingDelegate::show);
        show(3);
        return dialog;
    }
    Outcome apply(VRLStack&, ModelItem&) override { return Outcome::done(); }

private:
    void show(int number) {
        preview([this, number]() -> Vertices<double> {
            if (number >= __from)
                throw ValueError("Vertices<double> show(int)", "It went wrong");
            return getItem()->getVertices();
        });
    }
    int __from;
};

} // namespace

TEST_F(ContourToolsTest, anErrorBehindADialogLosesNothing) {
    ModelItem& contour = addItem(*polygon, *slice, square);
    addItem(*polygon, *slice, ring(20));
    select(contour);
    for (const int from : {7, 0}) { // by a move of the slider, and at once
        FailingDelegate tool(mediator->getToolHost(), from);
        ModalScript script;
        if (from == 7)
            script.then([](QWidget& dialog) { number(dialog, "Number").setValue(7); });
        expectSteps(0, [&] { EXPECT_EQ(whatOf<ValueError>([&] { tool.activate(); }), "It went wrong"); });
        EXPECT_FALSE(tool.isActive());
        EXPECT_EQ(&slice->getItem(0), &contour);
        EXPECT_EQ(slice->getNumItems(), 2);
        EXPECT_EQ(canvas->getExtraItem(), nullptr);
    }
}

TEST_F(ContourToolsTest, aDialogEndsWithItsEditorItsSliceAndItsModel) {
    ModelItem& contour = addItem(*polygon, *slice, square);
    addItem(*other, *slice, ring(20));
    const std::string before = text();
    const auto end = [&](const std::function<void()>& what) {
        select(contour);
        ModalScript script;
        script.then([&](QWidget&) { what(); });
        action("Resample")->trigger();
        EXPECT_EQ(canvas->getExtraItem(), nullptr);
        EXPECT_EQ(canvas->findChild<QDialog*>(), nullptr);
        EXPECT_EQ(&slice->getItem(0), &contour);
        EXPECT_EQ(text(), before);
        showSlice(*slice);
    };
    end([&] {
        VRLModelDeleteEvent event(polygon);
        mediator->notifyEvent(event);
    });
    end([&] { widget->clear(); });
    StackSlice next; // shown only
    end([&] { widget->setSlice(next); });

    auto* const second = new VRLSliceEditWidget;
    second->initialize();
    second->setImageServer(server);
    second->setSlice(*slice);
    ModalScript script;
    script.then([&](QWidget&) { delete second; });
    testing::internal::CaptureStderr();
    for (QAction* each : second->getMediator().getCanvas().actions())
        if (each->text().remove('&') == "Resample") {
            each->trigger();
            break;
        }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(&slice->getItem(0), &contour);
    ASSERT_TRUE(settle());
}

TEST_F(ContourToolsTest, aLineSplitsAContourInOneStep) {
    ModelItem& contour = addItem(*polygon, *slice, ring(40));
    ModelItem& behind = addItem(*polygon, *slice, square);
    select(contour);
    QSignalSpy locks(mediator, &VRLSliceEditWidgetMediator::lockRequested);
    expectSteps(1, [&] {
        action("Split contour")->trigger();
        EXPECT_TRUE(splitDelegate()->isActive());
        EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::PointingHandCursor);
        EXPECT_TRUE(statusBar->currentMessage().contains("Drag a line"));
        action("Resample")->trigger(); // not while the line is waited for
        action("Split contour")->trigger();
        // What is no part of a line is left to others.
        EXPECT_FALSE(mouse(QEvent::MouseButtonPress, QPoint(9, 9), Qt::MiddleButton, Qt::MiddleButton));
        EXPECT_FALSE(mouse(QEvent::MouseMove, QPoint(9, 9), Qt::NoButton, Qt::LeftButton));
        EXPECT_FALSE(mouse(QEvent::MouseButtonRelease, QPoint(9, 9), Qt::LeftButton, Qt::NoButton));
        EXPECT_TRUE(mouse(QEvent::MouseButtonPress, QPoint(151, 20), Qt::LeftButton, Qt::LeftButton));
        EXPECT_TRUE(mouse(QEvent::MouseButtonPress, QPoint(9, 9), Qt::MiddleButton, Qt::LeftButton | Qt::MiddleButton));
        EXPECT_FALSE(mouse(QEvent::MouseMove, QPoint(9, 9), Qt::NoButton, Qt::LeftButton | Qt::MiddleButton));
        EXPECT_FALSE(mouse(QEvent::MouseButtonRelease, QPoint(9, 9), Qt::MiddleButton, Qt::LeftButton));
        EXPECT_TRUE(mouse(QEvent::MouseMove, QPoint(153, 180), Qt::NoButton, Qt::LeftButton));
        QTest::qWait(60);
        const QColor seen = picture().pixelColor(152, 30);
        const QColor seenToo = picture().pixelColor(152, 40);
        EXPECT_TRUE(isNear(seen.rgb(), qRgb(255, 0, 255), 60) || isNear(seenToo.rgb(), qRgb(255, 0, 255), 60));
        EXPECT_TRUE(mouse(QEvent::MouseButtonRelease, QPoint(153, 180), Qt::LeftButton, Qt::NoButton));
    });
    EXPECT_FALSE(splitDelegate()->isActive());
    EXPECT_EQ(locks.count(), 2);
    ASSERT_EQ(slice->getNumItems(), 3);
    EXPECT_EQ(&slice->getItem(0), &behind);
    history().undo();
    EXPECT_EQ(&slice->getItem(0), &contour);
}

TEST_F(ContourToolsTest, aLineAtAZoomSplitsBetweenThePixels) {
    const Points whole = {{10, 10}, {20, 10}, {20, 20}, {10, 20}};
    select(addItem(*polygon, *slice, whole));
    canvas->setZoomFactor(4);
    const double x = mediator->getToolHost().vertexAt(QPointF(63, 22))[0];
    EXPECT_NE(x, std::floor(x));
    expectSteps(1, [&] {
        action("Split contour")->trigger();
        press(QPoint(63, 22));
        drag(QPoint(63, 102));
        release(QPoint(63, 102));
    });
    ASSERT_EQ(slice->getNumItems(), 2);
    for (const int k : {0, 1}) {
        int onLine = 0;
        for (const auto& vertex : decimals(slice->getItem(k).getVertices()))
            onLine += std::abs(vertex.first - x) < 1e-9;
        EXPECT_EQ(onLine, 2) << k;
    }
    history().undo();
    ASSERT_EQ(slice->getNumItems(), 1);
    EXPECT_EQ(coordinates(slice->getItem(0).getVertices()), whole);
}

TEST_F(ContourToolsTest, linesThatDoNotCutLeaveTheContour) {
    ModelItem& contour = addItem(*polygon, *slice, ring(40));
    select(contour);
    const auto drawLine = [&](QPoint from, QPoint to) {
        action("Split contour")->trigger();
        press(from);
        drag(to);
        release(to);
        EXPECT_FALSE(splitDelegate()->isActive());
    };
    expectSteps(0, [&] {
        drawLine(QPoint(10, 10), QPoint(30, 150));
        EXPECT_TRUE(statusBar->currentMessage().contains("Nothing was split"));
        action("Split contour")->trigger();
        action("Cancel")->trigger();
        EXPECT_FALSE(splitDelegate()->isActive());
        select(contour);
        action("Split contour")->trigger();
        press(QPoint(10, 10));
        QContextMenuEvent menu(QContextMenuEvent::Mouse, QPoint(5, 5), canvas->mapToGlobal(QPoint(5, 5)));
        QCoreApplication::sendEvent(canvas, &menu);
        EXPECT_EQ(QApplication::activePopupWidget(), nullptr);
        EXPECT_FALSE(splitDelegate()->isActive());
    });
    // A piece too thin for thousandths of a pixel.
    ModelItem& corners = addItem(*polygon, *slice, {{20, 50}, {120, 51}, {120, 50}});
    Vertices<double> thin = corners.getVertices();
    thin[1][1] = 50.001;
    corners.setVertices(thin);
    contour.getSelection().set(false);
    select(corners);
    ModalScript script;
    script.thenClick("OK");
    expectSteps(0, [&] { drawLine(QPoint(35, 20), QPoint(35, 150)); });
    EXPECT_TRUE(QString::fromStdString(script.seen.back()).startsWith("Split contour: Cannot split the contour"));

    action("Split contour")->trigger();
    selection->removeSelection();
    EXPECT_FALSE(splitDelegate()->isActive());
}

TEST(ContourToolDialogs, theSlicesThatGetACopyAreNamedAndThoseOutlinedPassedOver) {
    const std::vector<VRLCopyDialog::Slice> slices = {{"a", true}, {"b"}, {"<i>", false}, {"d", true}, {"e"}, {"f"}};
    using Ranks = std::vector<int>;
    VRLCopyDialog dialog(nullptr, slices, 2);
    dialog.show();
    const QPushButton& ok = button(dialog, "OK");
    auto& passOver = *dialog.findChild<QCheckBox*>();
    const auto says = [&dialog](const QString& text) {
        const auto labels = dialog.findChildren<QLabel*>();
        return std::any_of(labels.begin(), labels.end(),
                           [&text](const QLabel* label) { return label->text() == text; });
    };
    EXPECT_EQ(dialog.targets(), Ranks()); // the one behind is outlined
    EXPECT_FALSE(ok.isEnabled());
    EXPECT_TRUE(says("To no slice; 1 is passed over."));
    control<QSpinBox>(dialog, "Slices after").setValue(3);
    EXPECT_EQ(dialog.targets(), (Ranks{4, 5}));
    EXPECT_TRUE(ok.isEnabled());
    dialog.setNumBefore(2);
    EXPECT_EQ(dialog.targets(), (Ranks{1, 4, 5}));
    EXPECT_TRUE(says("To 3 slices, from b to f; 2 are passed over."));
    passOver.setChecked(false);
    EXPECT_EQ(dialog.targets(), (Ranks{0, 1, 3, 4, 5}));
    EXPECT_TRUE(says("To 5 slices, from a to f."));

    VRLCopyDialog last(nullptr, {{"a"}, {"b"}}, 1);
    last.show();
    EXPECT_EQ(last.targets(), Ranks{0}); // there is none behind
    EXPECT_FALSE(last.findChild<QCheckBox*>()->isVisible());
}

TEST(ContourToolDialogs, valuesSetFromOutsideSendNoSignal) {
    VRLFourierDialog smoothing;
    QSignalSpy fidelity(&smoothing, &VRLFourierDialog::fidelityChanged);
    QSignalSpy descriptors(&smoothing, &VRLFourierDialog::numDescriptorsChanged);
    smoothing.setFidelity(70);
    smoothing.setNumDescriptors(120, 150);
    EXPECT_EQ(smoothing.getFidelity(), 70);
    EXPECT_EQ(smoothing.getNumDescriptors(), 120);
    EXPECT_EQ(fidelity.count() + descriptors.count(), 0);
    control<QSpinBox>(smoothing, "Fidelity").setValue(80);
    control<QSpinBox>(smoothing, "Descriptors").setValue(12);
    EXPECT_EQ(fidelity.count(), 1);
    EXPECT_EQ(descriptors.count(), 1);
    EXPECT_EQ(control<QSpinBox>(smoothing, "Fidelity").minimum(), 1);
    EXPECT_EQ(control<QSpinBox>(smoothing, "Fidelity").maximum(), 100);

    VRLCurveResamplingDialog number(nullptr, "Title", "Label");
    QSignalSpy changes(&number, &VRLCurveResamplingDialog::numVerticesChanged);
    EXPECT_EQ(control<QSpinBox>(number, "Label").maximum(), 100);
    number.setMaximum(500);
    number.setMinimum(3);
    number.setValue(400);
    EXPECT_EQ(number.getValue(), 400);
    EXPECT_EQ(changes.count(), 0);
    number.findChild<QSlider*>()->setValue(250);
    EXPECT_EQ(changes.count(), 1);
    QTest::keyClick(&number, Qt::Key_Escape);
    EXPECT_EQ(number.result(), QDialog::Rejected);
}

// Each dialog with its preview; VORLEN_SCREENSHOTS names a folder for pictures of the screen.
TEST_F(ContourToolsTest, previewsAreSeenOnTheImage) {
    polygon->getItemProperties().setColor(255, 200, 0);
    widget->setFixedSize(900, 600);
    QTest::qWait(60);
    ModelItem& contour = addItem(*polygon, *slice, ring(120, 60));
    const int shown[] = {12, 6, 30, 3};
    for (int k = 0; k < 4; ++k) {
        select(contour);
        run(
            tools[k].command,
            [&](QDialog& dialog) {
                number(dialog, tools[k].label).setValue(shown[k]);
                QTest::qWait(100);
                // The first vertex of the preview wears the yellow mark, but for the smoothing, which shows none.
                const auto [x, y] = previewed()[0];
                const QPointF at = canvas->convertToPosition(QPointF(x + 0.5, y + 0.5));
                const QColor mark = picture().pixelColor(int(at.x()) - 2, int(at.y()) - 2);
                EXPECT_EQ(isNear(mark.rgb(), qRgb(255, 255, 0), 60), k < 3) << tools[k].label.toStdString();
                EXPECT_FALSE(dialog.geometry().contains(canvas->mapToGlobal(canvas->rect().center())));
                if (qEnvironmentVariableIsSet("VORLEN_SCREENSHOTS"))
                    window.screen()
                        ->grabWindow(0, window.x(), window.y(), window.width() + 20, window.height() + 40)
                        .save(qEnvironmentVariable("VORLEN_SCREENSHOTS") + QString("/tool%1.png").arg(k));
            },
            "Cancel");
    }
}

} // namespace vorlen
