#include "ui/viewer/viewerposepanel.h"

#include "numerics/maths.h"
#include "ui/widgets/qinputbox.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace vorlen {

namespace {

/// Gives the boxes of a group labels of one width, so that their sliders stand below each other.
void alignLabels(std::initializer_list<QWidget*> boxes) {
    int width = 0;
    for (const QWidget* box : boxes)
        width = std::max(width, box->findChild<QLabel*>()->sizeHint().width());
    for (const QWidget* box : boxes)
        box->findChild<QLabel*>()->setMinimumWidth(width);
}

/// A label and a control in a row.
void addRow(QWidget& group, const QString& text, QWidget& control) {
    auto* row = new QHBoxLayout;
    if (!text.isEmpty()) {
        auto* label = new QLabel(text, &group);
        label->setBuddy(&control);
        row->addWidget(label);
    }
    row->addWidget(&control, 1);
    static_cast<QVBoxLayout*>(group.layout())->addLayout(row);
}

} // namespace

ViewerPosePanel::ViewerPosePanel(QWidget* parent) : QWidget(parent) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);

    QWidget* group = __addGroup("Rotation");
    const char* const axes[] = {"x ", "y ", "z "};
    for (int k = 0; k < 3; ++k) {
        __rotation[k] = __addBox(group, axes[k], -180, 180, " deg.", "Angle about this axis");
        connect(__rotation[k], &QInputBox::valueChanged, this, &ViewerPosePanel::processRotationChange);
    }
    alignLabels({__rotation[0], __rotation[1], __rotation[2]});

    group = __addGroup("Translation");
    const char* const shifts[] = {"Shift to the right", "Shift upward"};
    for (int k = 0; k < 2; ++k) {
        __translation[k] = __addBox(group, axes[k], -100, 100, " %", shifts[k]);
        connect(__translation[k], &QInputBox::valueChanged, this, &ViewerPosePanel::processTranslationChange);
    }
    alignLabels({__translation[0], __translation[1]});

    group = __addGroup("Zoom");
    __zoom = __addBox(group, "", 5, 1000, "%", "Size of the picture; 100% shows the whole scene");
    __zoom->setValue(100);
    connect(__zoom, &QInputBox::valueChanged, this, &ViewerPosePanel::zoomChanged);

    group = __addGroup("Light");
    __ambient = __addBox(group, "Ambient  ", 0, 255, "", "Light from all sides");
    __diffuse = __addBox(group, "Diffuse  ", 0, 255, "", "Light from the viewer, which shades surfaces");
    __specular = __addBox(group, "Specular ", 0, 255, "", "Light of the highlights");
    alignLabels({__ambient, __diffuse, __specular});
    connect(__ambient, &QInputBox::valueChanged, this, &ViewerPosePanel::ambientLightChanged);
    connect(__diffuse, &QInputBox::valueChanged, this, &ViewerPosePanel::diffuseLightChanged);
    connect(__specular, &QInputBox::valueChanged, this, &ViewerPosePanel::specularLightChanged);

    group = __addGroup("Background");
    __backgroundColor = new QPushButton("Select...", group);
    __backgroundColor->setAccessibleName("Background color");
    __backgroundColor->setToolTip("Choose the color behind the scene");
    addRow(*group, "Color ", *__backgroundColor);
    connect(__backgroundColor, &QPushButton::clicked, this, &ViewerPosePanel::processBackgroundColorSelection);
    __backgroundType = new QComboBox(group);
    __backgroundType->addItems({"Gradient", "Uniform"});
    __backgroundType->setAccessibleName("Background type");
    __backgroundType->setToolTip("Let the color darken towards the lower edge, or not");
    addRow(*group, "Type ", *__backgroundType);
    connect(__backgroundType, &QComboBox::currentTextChanged, this, &ViewerPosePanel::processBackgroundTypeChange);
    __showBackground();

    group = __addGroup("Projection");
    __projectionType = new QComboBox(group);
    __projectionType->addItems({"Perspective", "Orthographic"});
    __projectionType->setAccessibleName("Projection");
    __projectionType->setToolTip("Let things far away appear smaller, or not");
    addRow(*group, "", *__projectionType);
    connect(__projectionType, &QComboBox::currentTextChanged, this, &ViewerPosePanel::processProjectionTypeChange);
    __strength = __addBox(group, "Strength ", 1, 5, "", "The greater, the nearer stands the viewer");
    __strength->setValue(int(ProjectionGL().getPerspectiveStrength()));
    connect(__strength, &QInputBox::valueChanged, this, &ViewerPosePanel::processPerspectiveStrengthChange);

    group = __addGroup("Bounding box");
    __boundingBox = new QCheckBox("Show bounding box", group);
    __boundingBox->setChecked(true);
    __boundingBox->setToolTip("Draw a frame around the scene");
    group->layout()->addWidget(__boundingBox);
    __boundingBoxScaling = __addBox(group, "Scaling", 100, 110, "%", "Size of the frame; 100% touches the scene");
    connect(__boundingBox, &QCheckBox::toggled, __boundingBoxScaling, &QWidget::setEnabled);
    connect(__boundingBox, &QCheckBox::toggled, this, &ViewerPosePanel::boundingBoxToggled);
    connect(__boundingBoxScaling, &QInputBox::valueChanged, this, &ViewerPosePanel::boundingBoxScalingChanged);

    layout->addStretch(1);
}

void ViewerPosePanel::setBackground(const BackgroundGL& background) {
    const QSignalBlocker quiet(this);
    __background = background;
    // Through the combo box's own handler this would come back; the panel is quiet, and the flag is the same.
    __backgroundType->setCurrentText(background.isGradientEnabled() ? "Gradient" : "Uniform");
    __showBackground();
}

void ViewerPosePanel::setRotation(const Vector<float>& rotation) {
    const QSignalBlocker quiet(this);
    for (int k = 0; k < 3; ++k)
        // A stored pose may hold any angle; the boxes end at half a turn.
        __rotation[k]->setValue(Maths::fround(std::remainder(rotation[k], 360.0f)));
}

void ViewerPosePanel::setTranslation(const Vector<int>& translation) {
    const QSignalBlocker quiet(this);
    for (int k = 0; k < 2; ++k)
        __translation[k]->setValue(translation[k]);
}

void ViewerPosePanel::setZoom(int zoom) {
    const QSignalBlocker quiet(this);
    __zoom->setValue(zoom);
}

void ViewerPosePanel::setBoundingBoxScaling(int scaling) {
    const QSignalBlocker quiet(this);
    __boundingBoxScaling->setValue(scaling);
}

void ViewerPosePanel::setAmbientLight(int light) {
    const QSignalBlocker quiet(this);
    __ambient->setValue(light);
}

void ViewerPosePanel::setDiffuseLight(int light) {
    const QSignalBlocker quiet(this);
    __diffuse->setValue(light);
}

void ViewerPosePanel::setSpecularLight(int light) {
    const QSignalBlocker quiet(this);
    __specular->setValue(light);
}

void ViewerPosePanel::setPose(const Pose& pose) {
    setRotation(pose.getRotation());
    setTranslation(pose.getTranslation());
    setZoom(pose.getZoom());
    setAmbientLight(pose.getAmbientLight());
    setDiffuseLight(pose.getDiffuseLight());
    setSpecularLight(pose.getSpecularLight());
}

void ViewerPosePanel::processRotationChange() {
    Vector<float> rotation(3);
    for (int k = 0; k < 3; ++k)
        rotation[k] = float(__rotation[k]->getValue());
    emit rotationChanged(rotation);
}

void ViewerPosePanel::processTranslationChange() {
    Vector<int> translation(2);
    for (int k = 0; k < 2; ++k)
        translation[k] = __translation[k]->getValue();
    emit translationChanged(translation);
}

void ViewerPosePanel::processBackgroundColorSelection() {
    const Vector<int>& present = __background.getColor();
    const QColor chosen = QColorDialog::getColor(QColor(present[0], present[1], present[2]), this, "Background color");
    if (!chosen.isValid())
        return;
    Vector<int> color(3);
    color[0] = chosen.red();
    color[1] = chosen.green();
    color[2] = chosen.blue();
    __background.setColor(color);
    __showBackground();
    emit backgroundChanged(__background);
}

void ViewerPosePanel::processBackgroundTypeChange(const QString& type) {
    __background.setGradientEnabled(type == "Gradient");
    emit backgroundChanged(__background);
}

void ViewerPosePanel::processProjectionTypeChange(const QString& type) {
    ProjectionGL projection;
    if (type == "Perspective")
        projection.setPerspective();
    else
        projection.setOrthographic();
    __strength->setEnabled(projection.isPerspective());
    emit projectionChanged(projection);
}

void ViewerPosePanel::processPerspectiveStrengthChange(int strength) {
    ProjectionGL projection;
    projection.setPerspectiveStrength(float(strength));
    emit projectionChanged(projection);
}

QInputBox* ViewerPosePanel::__addBox(QWidget* group, const QString& label, int minimum, int maximum,
                                     const QString& suffix, const QString& toolTip) {
    auto* box = new QInputBox(label, group, minimum, maximum, suffix);
    box->setToolTip(toolTip);
    // "x" alone would not tell a listener which one.
    box->findChild<QSpinBox*>()->setAccessibleName((static_cast<QGroupBox*>(group)->title() + ' ' + label).trimmed());
    group->layout()->addWidget(box);
    return box;
}

QWidget* ViewerPosePanel::__addGroup(const QString& title) {
    auto* group = new QGroupBox(title, this);
    auto* layout = new QVBoxLayout(group);
    layout->setSpacing(4);
    this->layout()->addWidget(group);
    return group;
}

void ViewerPosePanel::__showBackground() {
    const Vector<int>& color = __background.getColor();
    QPixmap swatch(16, 16);
    swatch.fill(QColor(color[0], color[1], color[2]));
    __backgroundColor->setIcon(swatch);
}

} // namespace vorlen
