#pragma once

#include <QPointer>
#include <QWidget>

class QCheckBox;
class QComboBox;
class QPushButton;

namespace vorlen {

class AutomaticTool;
class OptionSlider;

/// The options of the tool that outlines automatically: threshold and smoothing by sliders, which side of the threshold
/// is outlined, how many vertices are left out. Return takes the outline, Escape gives it up, as on the canvas.
class AutomaticOptions : public QWidget {
    Q_OBJECT

public:
    AutomaticOptions(AutomaticTool& tool, QWidget* parent);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void refresh();

    QPointer<AutomaticTool> __tool;
    OptionSlider* __threshold;
    QCheckBox* __proposed;
    OptionSlider* __smoothing;
    QComboBox* __side;
    OptionSlider* __simplification;
    QPushButton* __accept;
    QPushButton* __giveUp;
};

} // namespace vorlen
