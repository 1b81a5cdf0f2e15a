#pragma once

#include <QWidget>

#include "document/modelproperties.h"

class QCheckBox;
class QComboBox;

namespace vorlen {

class VRLAttributeSpinBox;

/// The properties of a model as a whole. Each may be undefined, so that what several models have in common can be
/// shown: a blank field, or a box that is neither checked nor unchecked.
class VRLModelPropertiesEditor : public QWidget {
    Q_OBJECT

public:
    explicit VRLModelPropertiesEditor(QWidget* parent = nullptr);

    /// Shows the defined properties and leaves the others undefined; tells it by modified(), once.
    void setProperties(const ModelProperties& properties);

    /// The properties whose controls are not undefined.
    ModelProperties properties() const;

    void clear();
    void setGeometryBoxEnabled(bool enabled);

signals:
    void modified();

private:
    QComboBox* __geometry;
    QComboBox* __renderingMode;
    VRLAttributeSpinBox* __opacity;
    VRLAttributeSpinBox* __shininess;
    VRLAttributeSpinBox* __quadMeshWidth;
    VRLAttributeSpinBox* __quadMeshHeight;
    QCheckBox* __beginCap;
    QCheckBox* __endCap;
    QCheckBox* __economicRendering;
};

} // namespace vorlen
