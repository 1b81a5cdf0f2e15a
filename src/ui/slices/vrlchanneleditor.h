#pragma once

#include <QGroupBox>

#include "values/imagecolorcontent.h"

class QRadioButton;

namespace vorlen {

/// Choice of what to take from colour images: their intensity or one of the three colours.
class VRLChannelEditor : public QGroupBox {
    Q_OBJECT

public:
    explicit VRLChannelEditor(QWidget* parent = nullptr);

    /// Of a stack's images. Images of one colour leave no choice; others begin with the intensity.
    void setChannel(ImageColorContent content);

    /// 0 for the intensity, 1, 2, 3 for red, green, blue.
    int getChannel() const;

private:
    QRadioButton* __buttons[4];
};

} // namespace vorlen
