#pragma once

#include <optional>

#include <QWidget>

#include "document/modelitemproperties.h"

class QCheckBox;
class QComboBox;
class QPushButton;

namespace vorlen {

class VRLAttributeSpinBox;

/// The look of items. Each property may be undefined, so that what several models have in common can be shown.
class VRLModelItemPropertiesEditor : public QWidget {
    Q_OBJECT

public:
    explicit VRLModelItemPropertiesEditor(QWidget* parent = nullptr);
    ~VRLModelItemPropertiesEditor() override;

    /// Shows the defined properties and leaves the others undefined; tells it by modified(), once. Nothing when the
    /// editor holds these properties already.
    void setProperties(const ModelItemProperties& properties);

    /// The properties whose controls are not undefined.
    ModelItemProperties properties() const;

    void clear();

public slots:
    /// Lets the user choose a color.
    void runColorSelection();

signals:
    void modified();

private:
    void setColor(const std::optional<Vector<int>>& color);
    void showColor();

    QPushButton* __colorButton;
    std::optional<Vector<int>> __color; // red, green, blue
    QComboBox* __vertexSymbol;
    VRLAttributeSpinBox* __lineWidth;
    VRLAttributeSpinBox* __pointSize;
    QCheckBox* __filling;
    QCheckBox* __visibility;
};

} // namespace vorlen
