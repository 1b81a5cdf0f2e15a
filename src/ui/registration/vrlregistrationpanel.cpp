#include "ui/registration/vrlregistrationpanel.h"

#include <algorithm>
#include <cmath>

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "editing/stacks/vrlstack.h"
#include "ui/models/vrlslicelistwidget.h"
#include "ui/registration/scorebardelegate.h"
#include "ui/registration/sectionmarks.h"
#include "ui/registration/vrlimagetransparencymodecombobox.h"
#include "ui/widgets/vrldecimalbox.h"

namespace vorlen {

namespace {

enum Follow { AllFollow, NoneFollows, SomeFollow };

/// At most three decimals, and none where it is whole.
QString shiftText(double shift) {
    QString text = QString::number(shift, 'f', 3);
    while (text.endsWith('0'))
        text.chop(1);
    if (text.endsWith('.'))
        text.chop(1);
    return text == "-0" ? "0" : text;
}

QString shownName(const std::string& name) {
    return QString::fromStdString(name);
}

QLabel* newBoldLabel(const char* text, QWidget* parent) {
    auto* const label = new QLabel(parent);
    label->setTextFormat(Qt::RichText);
    label->setText(text);
    return label;
}

/// A long name is read from its beginning, and whole in the tool tip.
void showName(QLineEdit& field, const std::string& name) {
    field.setText(shownName(name));
    field.setCursorPosition(0);
    field.setToolTip(field.text());
}

QPushButton* newButton(QWidget* parent, const QString& text, const QString& tip) {
    auto* const button = new QPushButton(text, parent);
    button->setToolTip(tip);
    return button;
}

} // namespace

VRLRegistrationPanel::VRLRegistrationPanel(QWidget* parent) : QFrame(parent) {
    setFrameStyle(QFrame::WinPanel | QFrame::Raised);
    __slices = new VRLSliceListWidget(this);
    __slices->setFixedHeight(150);
    __worstFirst = new QCheckBox("Worst fit first", this);
    __worstFirst->setToolTip("Lists the slices by how badly they fit the one before them, not in their order");
    auto* const list = __slices->findChild<QListWidget*>();
    list->setItemDelegate(new ScoreBarDelegate(list));
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(6, 6, 6, 6);
    layout->setSpacing(4);
    layout->addWidget(__slices);
    layout->addWidget(__worstFirst);
    layout->addWidget(newSliceButtons());
    layout->addWidget(newDisplayGroup());
    layout->addWidget(newRegistrationGroup());
    layout->addWidget(newButtons());
    connect(__slices, &VRLSliceListWidget::selectionChanged, this, &VRLRegistrationPanel::sliceSelectionChange);
    connect(__worstFirst, &QCheckBox::toggled, this, [this](bool on) {
        orderSlices();
        if (on)
            __slices->findChild<QListWidget*>()->scrollToTop();
        emit worstFirstClicked(on);
    });
    updateEnabled();
}

QWidget* VRLRegistrationPanel::newSliceButtons() {
    auto* const row = new QWidget(this);
    auto* const layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addStretch();
    const auto add = [&](const char* text, const char* tip, void (VRLRegistrationPanel::*clicked)()) {
        auto* const button = newButton(row, text, tip);
        button->setMinimumWidth(20);
        layout->addWidget(button);
        connect(button, &QPushButton::clicked, this, clicked);
    };
    add("First", "The second slice of the stack, the first that lies on another", &VRLRegistrationPanel::firstClicked);
    add("Next", "The slice after this one", &VRLRegistrationPanel::nextClicked);
    add("Prev", "The slice before this one", &VRLRegistrationPanel::previousClicked);
    add("Last", "The last slice of the stack", &VRLRegistrationPanel::lastClicked);
    layout->addStretch();
    return row;
}

QGroupBox* VRLRegistrationPanel::newDisplayGroup() {
    auto* const group = new QGroupBox("Display", this);
    auto* const bigger = newButton(group, "Bigger", "Show the images larger");
    auto* const smaller = newButton(group, "Smaller", "Show the images smaller");
    __frames = new QCheckBox("Display frames", group);
    __frames->setToolTip("The borders and centre lines: green of the background, blue of the foreground");
    __transparencyMode = new VRLImageTransparencyModeComboBox(group);
    auto* const modeLabel = new QLabel("Transparency mode:", group);
    modeLabel->setBuddy(__transparencyMode);
    __comparison = new QComboBox(group);
    __comparison->addItems({"Mixed", "In turns (blink)", "Checkerboard"});
    __comparison->setToolTip("The two slices mixed, one after the other, or in squares side by side");
    auto* const comparisonLabel = new QLabel("Comparison:", group);
    comparisonLabel->setBuddy(__comparison);
    auto* const layout = new QGridLayout(group);
    layout->setVerticalSpacing(3);
    layout->addWidget(bigger, 0, 0);
    layout->addWidget(smaller, 0, 1);
    layout->addWidget(__frames, 1, 0, 1, 2);
    layout->addWidget(modeLabel, 2, 0);
    layout->addWidget(__transparencyMode, 2, 1);
    layout->addWidget(comparisonLabel, 3, 0);
    layout->addWidget(__comparison, 3, 1);
    connect(bigger, &QPushButton::clicked, this, &VRLRegistrationPanel::biggerClicked);
    connect(smaller, &QPushButton::clicked, this, &VRLRegistrationPanel::smallerClicked);
    connect(__frames, &QCheckBox::toggled, this, &VRLRegistrationPanel::framesEnabled);
    connect(__transparencyMode, &VRLImageTransparencyModeComboBox::activated, this,
            &VRLRegistrationPanel::transparencyModeChanged);
    connect(__comparison, &QComboBox::currentIndexChanged, this,
            [this](int index) { emit comparisonChanged(static_cast<ComparisonMode>(index)); });
    return group;
}

QLineEdit* VRLRegistrationPanel::newField() {
    auto* const field = new QLineEdit(this);
    field->setReadOnly(true);
    field->setFixedWidth(100);
    return field;
}

QGroupBox* VRLRegistrationPanel::newRegistrationGroup() {
    auto* const group = new QGroupBox("Registration", this);
    auto* const layout = new QGridLayout(group);
    layout->setVerticalSpacing(3);
    int row = 0;
    const auto add = [&](const char* text, QWidget* field) {
        auto* const label = newBoldLabel(text, group);
        label->setBuddy(field);
        layout->addWidget(label, row, 0);
        layout->addWidget(field, row++, 1);
    };
    __stackName = newField();
    __backgroundName = newField();
    __foregroundName = newField();
    __horShift = newField();
    __verShift = newField();
    __angle = new VRLDecimalBox(group);
    __angle->setRange(0, 359.9);
    __angle->setDecimals(1);
    __angle->setSingleStep(0.1);
    __angle->setWrapping(true);
    __angle->setSuffix(" deg.");
    add("<b>Stack</b>", __stackName);
    add("<b>Background</b>", __backgroundName);
    add("<b>Foreground</b>", __foregroundName);
    add("<b>Hor. shift</b>", __horShift);
    add("<b>Ver. shift</b>", __verShift);
    add("<b>Rot. angle</b>", __angle);
    __follow = new QComboBox(group);
    __follow->addItems({"All slices that follow", "This slice alone", "Slices as far as"});
    __follow->setToolTip("Which slices go along with this one; those behind them stay where they lie");
    __until = new QComboBox(group);
    __until->setToolTip("The last slice that goes along");
    __until->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    __until->setMinimumContentsLength(6);
    layout->addWidget(newBoldLabel("<b>Moves</b>", group), row, 0);
    layout->addWidget(__follow, row++, 1);
    layout->addWidget(__until, row++, 1);
    __until->hide();
    __lock = new QCheckBox("Locked", group);
    __lock->setToolTip("The slice keeps its registration, by hand and by automatic registration");
    layout->addWidget(__lock, row, 0, 1, 2);
    connect(__angle, &QDoubleSpinBox::valueChanged, this, &VRLRegistrationPanel::registrationChange);
    connect(__follow, &QComboBox::currentIndexChanged, this,
            [this](int index) { __until->setVisible(index == SomeFollow); });
    connect(__lock, &QCheckBox::toggled, this, &VRLRegistrationPanel::lockClicked);
    return group;
}

QWidget* VRLRegistrationPanel::newButtons() {
    auto* const box = new QWidget(this);
    auto* const layout = new QGridLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    __reset = newButton(box, "Reset", "No shift and no rotation");
    auto* const cancel = newButton(box, "Cancel", "Close the window; what was not applied is dropped");
    __apply = newButton(box, "Apply", "Give the slice this registration");
    __restore = newButton(box, "Restore", "The registration that the slice has");
    layout->addWidget(__reset, 0, 0);
    layout->addWidget(cancel, 0, 1);
    layout->addWidget(__apply, 1, 0);
    layout->addWidget(__restore, 1, 1);
    connect(__reset, &QPushButton::clicked, this, &VRLRegistrationPanel::resetClicked);
    connect(cancel, &QPushButton::clicked, this, &VRLRegistrationPanel::cancelClicked);
    connect(__apply, &QPushButton::clicked, this, &VRLRegistrationPanel::applyClicked);
    connect(__restore, &QPushButton::clicked, this, &VRLRegistrationPanel::restoreClicked);
    return box;
}

void VRLRegistrationPanel::setStack(VRLStack& stack) {
    __stack = &stack;
    __slice = nullptr;
    __slices->setStack(stack);
    if (stack.getNumSlices() > 0)
        __slices->removeSlice(stack.getFirstSlice());
    SectionMarks& marks = SectionMarks::of(stack);
    auto* const list = __slices->findChild<QListWidget*>();
    static_cast<ScoreBarDelegate*>(list->itemDelegate())->setMarks(&marks);
    connect(&marks, &SectionMarks::changed, list->viewport(), qOverload<>(&QWidget::update), Qt::UniqueConnection);
    connect(&marks, &SectionMarks::changed, this, &VRLRegistrationPanel::scoresChange, Qt::UniqueConnection);
    showName(*__stackName, stack.getName());
    for (QLineEdit* field : {__backgroundName, __foregroundName, __horShift, __verShift})
        field->clear();
    orderSlices();
    updateEnabled();
}

void VRLRegistrationPanel::setSlice(StackSlice& slice) {
    __slice = &slice;
    __slices->setSelectedSlice(slice);
    showName(*__backgroundName, slice.prevSlice().getName());
    showName(*__foregroundName, slice.getName());
    fillFollowers();
    updateEnabled();
}

void VRLRegistrationPanel::clear() {
    __stack = nullptr;
    __slice = nullptr;
    auto* const list = __slices->findChild<QListWidget*>();
    static_cast<ScoreBarDelegate*>(list->itemDelegate())->setMarks(nullptr);
    __slices->clear();
    for (QLineEdit* field : {__stackName, __backgroundName, __foregroundName, __horShift, __verShift})
        field->clear();
    updateEnabled();
}

void VRLRegistrationPanel::setRegistration(const Registration& registration) {
    __registration = registration;
    const QSignalBlocker blocker(__angle);
    __horShift->setText(shiftText(registration.getHorShift()));
    __verShift->setText(shiftText(registration.getVerShift()));
    __angle->setValue(double(registration.getRotationAngle()));
    __angle->setToolTip(QString("%1 degrees, clockwise").arg(double(registration.getRotationAngle()), 0, 'g', 7));
    __restore->setEnabled(__slice != nullptr);
}

void VRLRegistrationPanel::setRestoreEnabled(bool enabled) {
    __restore->setEnabled(enabled);
}

void VRLRegistrationPanel::setLocked(bool locked) {
    __locked = locked;
    const QSignalBlocker blocker(__lock);
    __lock->setChecked(locked);
    updateEnabled();
}

void VRLRegistrationPanel::setComparison(ComparisonMode mode) {
    __comparison->setCurrentIndex(static_cast<int>(mode));
}

void VRLRegistrationPanel::setFramesChecked(bool checked) {
    __frames->setChecked(checked);
}

void VRLRegistrationPanel::setWorstFirst(bool worstFirst) {
    __worstFirst->setChecked(worstFirst);
}

int VRLRegistrationPanel::lastFollower(int place) const {
    const int last = __stack == nullptr ? place : __stack->getNumSlices() - 1;
    if (__follow->currentIndex() == NoneFollows)
        return place;
    if (__follow->currentIndex() == SomeFollow)
        return std::clamp(place + __until->currentIndex(), place, last);
    return last;
}

void VRLRegistrationPanel::registrationChange() {
    emit registrationChanged(
        Registration(__registration.getHorShift(), __registration.getVerShift(), float(__angle->value())));
}

void VRLRegistrationPanel::sliceSelectionChange() {
    const auto slices = __slices->selectedSlices();
    if (slices.size() == 1)
        emit sliceClicked(*slices.front());
}

void VRLRegistrationPanel::fillFollowers() {
    __until->clear();
    const int place = __stack->findSlice(*__slice);
    for (int i = place; i < __stack->getNumSlices(); ++i)
        __until->addItem(shownName(__stack->getSlice(i).getName()));
    __until->setCurrentIndex(__until->count() - 1);
}

void VRLRegistrationPanel::updateEnabled() {
    const bool current = __slice != nullptr;
    __lock->setEnabled(current);
    for (QWidget* widget :
         {static_cast<QWidget*>(__angle), static_cast<QWidget*>(__follow), static_cast<QWidget*>(__until),
          static_cast<QWidget*>(__reset), static_cast<QWidget*>(__apply)})
        widget->setEnabled(current && !__locked);
    if (!current)
        __restore->setEnabled(false);
}

/// Scores come one after the other: the worst stays the first.
void VRLRegistrationPanel::scoresChange() {
    if (!__worstFirst->isChecked())
        return;
    QScrollBar* const bar = __slices->findChild<QListWidget*>()->verticalScrollBar();
    const int shown = bar->value();
    orderSlices();
    bar->setValue(shown);
}

/// The list widget finds its slices in any order of the rows.
void VRLRegistrationPanel::orderSlices() {
    if (__stack == nullptr)
        return;
    auto* const list = __slices->findChild<QListWidget*>();
    const QSignalBlocker blocker(list);
    struct Row {
        double score;
        int place;
        QListWidgetItem* item;
    };
    std::vector<Row> rows;
    rows.reserve(static_cast<std::size_t>(list->count()));
    const SectionMarks& marks = SectionMarks::of(*__stack);
    while (list->count() > 0) {
        QListWidgetItem* const item = list->takeItem(0);
        const StackSlice& slice = *item->data(Qt::UserRole).value<StackSlice*>();
        const double score = marks.score(slice);
        rows.push_back({score < 0 ? 2 : score, __stack->findSlice(slice), item});
    }
    const bool worstFirst = __worstFirst->isChecked();
    std::sort(rows.begin(), rows.end(), [worstFirst](const Row& a, const Row& b) {
        return worstFirst && a.score != b.score ? a.score < b.score : a.place > b.place;
    });
    for (const Row& row : rows)
        list->addItem(row.item);
    if (__slice != nullptr)
        __slices->setSelectedSlice(*__slice);
}

} // namespace vorlen
