#pragma once

#include <QComboBox>

#include "ui/registration/imagetransparencymode.h"

namespace vorlen {

/// Choice among the ways of mixing two images; each entry has its mode as data.
class VRLImageTransparencyModeComboBox : public QComboBox {
    Q_OBJECT

public:
    explicit VRLImageTransparencyModeComboBox(QWidget* parent = nullptr);

signals:
    /// The user has chosen.
    void activated(ImageTransparencyMode mode);
};

} // namespace vorlen
