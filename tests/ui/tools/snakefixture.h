#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QSpinBox>

#include "document/stacksliceselectioninfo.h"
#include "editing/history/vrlactionhistory.h"
#include "support/dialogdriver.h"
#include "support/modalscript.h"
#include "support/recordingmonitor.h"
#include "ui/slices/widgetfixture.h"
#include "ui/tools/vrlsliceeditwidgetmediatorsnakedelegate.h"

namespace vorlen {

/// Does something at each step of a snake, and at each text.
class SnakeWatch : public RecordingMonitor {
public:
    using RecordingMonitor::subjectProgressed;
    void subjectProgressed(unsigned int current, unsigned int total) override {
        RecordingMonitor::subjectProgressed(current, total);
        if (atStep)
            atStep(current);
    }
    void subjectProgressed(const std::string& text) override {
        RecordingMonitor::subjectProgressed(text);
        if (atText)
            atText(text);
    }

    std::function<void(unsigned int)> atStep;
    std::function<void(const std::string&)> atText;
};

/// A window of the slice editor with a polygon model, and the answers of a user to the snake's questions.
class SnakeTest : public WidgetTest {
protected:
    void SetUp() override {
        show(320, 240);
        model = &addModel(stack, "Polygon");
        snake = mediator->findChild<VRLSliceEditWidgetMediatorSnakeDelegate*>();
        snake->addMonitor(watch);
    }

    void TearDown() override {
        snake->removeMonitor(watch);
        widget->clear();
        EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
        EXPECT_FALSE(history().isStepOpen());
    }

    VRLActionHistory& history() { return *stack.history(); }

    /// A circle about the point, counter-clockwise, as the user might have clicked it; selected and alone so.
    ModelItem& addCircle(StackSlice& slice, double x, double y, double radius) {
        std::vector<std::pair<int, int>> points;
        for (int k = 0; k < 24; ++k)
            points.emplace_back(int(std::lround(x + radius * std::cos(k * 0.2617993877991494))),
                                int(std::lround(y + radius * std::sin(k * 0.2617993877991494))));
        ModelItem& item = addItem(*model, slice, points);
        for (int i = 0; i < slice.getNumItems(); ++i)
            slice.getItem(i).getSelection().set(false);
        item.getSelection().set(true);
        selectionChanged(slice);
        return item;
    }

    void selectionChanged(StackSlice& slice) {
        StackSliceSelectionInfo info;
        info.setSlice(&slice);
        mediator->selectionChange(info);
    }

    static QCheckBox& checkBox(QWidget& dialog, const QString& text) {
        for (QCheckBox* box : dialog.findChildren<QCheckBox*>())
            if (box->text() == text)
                return *box;
        throw std::runtime_error("no check box named " + text.toStdString());
    }

    /// Accepts the parameters, after changes.
    void acceptParameters(const std::function<void(QWidget&)>& change = {}) {
        script.then([change](QWidget& dialog) {
            if (change)
                change(dialog);
            ModalScript::click(dialog, "OK");
        });
    }

    /// Accepts a run over so many slices before and behind; 0 for all.
    void acceptRange(int numSlices, bool propagation, const std::function<void(QWidget&)>& change = {}) {
        acceptParameters([numSlices, propagation, change](QWidget& dialog) {
            checkBox(dialog, "Run on every slice").setChecked(true);
            control<QSpinBox>(dialog, "Slices on each side").setValue(numSlices);
            checkBox(dialog, "Use propagation").setChecked(propagation);
            if (change)
                change(dialog);
        });
    }

    void runSnake() {
        ASSERT_TRUE(action("Run Snake")->isEnabled());
        watch.heard.clear();
        action("Run Snake")->trigger();
    }

    ModalScript script;
    SnakeWatch watch;
    Model* model = nullptr;
    VRLSliceEditWidgetMediatorSnakeDelegate* snake = nullptr;
};

} // namespace vorlen
