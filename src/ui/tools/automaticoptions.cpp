#include "ui/tools/automaticoptions.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "ui/tools/automatictool.h"
#include "ui/tools/optionslider.h"

namespace vorlen {

namespace {

constexpr int mostSmoothing = 20;
constexpr int mostSimplification = 50;

} // namespace

AutomaticOptions::AutomaticOptions(AutomaticTool& tool, QWidget* parent) : QWidget(parent), __tool(&tool) {
    __threshold = new OptionSlider("Threshold", "The grey value at which the outline runs", this);
    __threshold->setObjectName("automatic.threshold");
    __proposed = new QCheckBox("Threshold from the box", this);
    __proposed->setToolTip("The grey value between the two that the box is made of");
    __proposed->setObjectName("automatic.proposed");
    __smoothing = new OptionSlider("Smoothing", "How many pixels around each one its grey value is the mean of", this);
    __smoothing->setObjectName("automatic.smoothing");
    __smoothing->setRange(0, mostSmoothing);
    auto* const sideName = new QLabel("Outline what is", this);
    __side = new QComboBox(this);
    __side->setObjectName("automatic.side");
    __side->setAccessibleName(sideName->text());
    __side->setToolTip("On which side of the threshold the structure lies");
    __side->addItems({"darker or brighter", "darker", "brighter"}); // in the order of BoxOutline::Side
    sideName->setBuddy(__side);
    __simplification =
        new OptionSlider("Simplify", "How much of the area may be given up for fewer vertices; 0: nothing", this);
    __simplification->setObjectName("automatic.simplification");
    __simplification->setRange(0, mostSimplification);
    __accept = new QPushButton("Take outline", this);
    __accept->setObjectName("automatic.accept");
    __accept->setToolTip("Add the outline that is shown (Return)");
    __giveUp = new QPushButton("Give up", this);
    __giveUp->setObjectName("automatic.giveUp");
    __giveUp->setToolTip("Drop the outline that is shown (Escape)");

    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(__accept);
    buttons->addWidget(__giveUp);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    for (QWidget* part :
         std::initializer_list<QWidget*>{__threshold, __proposed, __smoothing, sideName, __side, __simplification})
        layout->addWidget(part);
    layout->addLayout(buttons);

    connect(__threshold, &OptionSlider::chosen, &tool, &AutomaticTool::setThreshold);
    connect(__proposed, &QCheckBox::clicked, &tool, [this](bool proposed) {
        if (proposed)
            __tool->proposeThreshold();
        else
            __tool->setThreshold(__tool->getThreshold());
    });
    connect(__smoothing, &OptionSlider::chosen, &tool, &AutomaticTool::setSmoothing);
    connect(__side, &QComboBox::activated, &tool,
            [this](int index) { __tool->setSide(static_cast<AutomaticTool::Side>(index)); });
    connect(__simplification, &OptionSlider::chosen, &tool, &AutomaticTool::setSimplification);
    connect(__accept, &QPushButton::clicked, &tool, &AutomaticTool::accept);
    connect(__giveUp, &QPushButton::clicked, &tool, &AutomaticTool::giveUpByKey);
    connect(&tool, &AutomaticTool::optionsChanged, this, &AutomaticOptions::refresh);
    refresh();
}

void AutomaticOptions::refresh() {
    if (!__tool)
        return;
    const bool box = __tool->hasBox();
    __threshold->setEnabled(box);
    __proposed->setEnabled(box);
    if (box) {
        __threshold->setRange(__tool->getLeast(), __tool->getGreatest() + 1);
        __threshold->setValue(__tool->getThreshold());
    }
    __proposed->setChecked(!__tool->isThresholdChosen());
    __smoothing->setValue(__tool->getSmoothing());
    __side->setCurrentIndex(static_cast<int>(__tool->getSide()));
    __simplification->setValue(__tool->getSimplification());
    __accept->setEnabled(__tool->hasOutline());
    __giveUp->setEnabled(box);
}

void AutomaticOptions::keyPressEvent(QKeyEvent* event) {
    if (!__tool)
        return QWidget::keyPressEvent(event);
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        __tool->accept();
    else if (event->key() == Qt::Key_Escape)
        __tool->giveUpByKey();
    else
        return QWidget::keyPressEvent(event);
    event->accept();
}

} // namespace vorlen
