#pragma once

#include "document/pose.h"
#include "numerics/vector.h"
#include "ui/viewer/backgroundgl.h"
#include "ui/viewer/projectiongl.h"

#include <QWidget>

class QCheckBox;
class QComboBox;
class QPushButton;

namespace vorlen {

class QInputBox;

/// The controls of a viewer canvas: camera, lights, background, projection and frame, in whole units.
///
/// Signals tell what the user changes; the slots show values and tell nothing, so that a canvas that is finer than
/// whole units keeps its camera.
class ViewerPosePanel : public QWidget {
    Q_OBJECT

public:
    explicit ViewerPosePanel(QWidget* parent = nullptr);

    /// Shows the background that the canvas has.
    void setBackground(const BackgroundGL& background);

public slots:
    /// In degrees, each angle rounded.
    void setRotation(const Vector<float>& rotation);
    void setTranslation(const Vector<int>& translation);
    void setZoom(int zoom);
    void setBoundingBoxScaling(int scaling);
    void setAmbientLight(int light);
    void setDiffuseLight(int light);
    void setSpecularLight(int light);
    /// Rotation, translation, zoom and lights.
    void setPose(const Pose& pose);

signals:
    void rotationChanged(const Vector<float>& rotation);
    void translationChanged(const Vector<int>& translation);
    void zoomChanged(int zoom);
    void boundingBoxScalingChanged(int scaling);
    void ambientLightChanged(int light);
    void diffuseLightChanged(int light);
    void specularLightChanged(int light);
    void backgroundChanged(const BackgroundGL& background);
    void projectionChanged(const ProjectionGL& projection);
    void boundingBoxToggled(bool shown);

private slots:
    void processRotationChange();
    void processTranslationChange();
    void processBackgroundColorSelection();
    void processBackgroundTypeChange(const QString& type);
    void processProjectionTypeChange(const QString& type);
    void processPerspectiveStrengthChange(int strength);

private:
    QInputBox* __addBox(QWidget* group, const QString& label, int minimum, int maximum, const QString& suffix,
                        const QString& toolTip);
    QWidget* __addGroup(const QString& title);
    void __showBackground();

    BackgroundGL __background;
    QInputBox* __rotation[3];
    QInputBox* __translation[2];
    QInputBox* __zoom;
    QInputBox* __ambient;
    QInputBox* __diffuse;
    QInputBox* __specular;
    QPushButton* __backgroundColor;
    QComboBox* __backgroundType;
    QComboBox* __projectionType;
    QInputBox* __strength;
    QCheckBox* __boundingBox;
    QInputBox* __boundingBoxScaling;
};

} // namespace vorlen
