#include "ui/slices/vrlchanneleditor.h"

#include <QRadioButton>
#include <QVBoxLayout>

namespace vorlen {

VRLChannelEditor::VRLChannelEditor(QWidget* parent) : QGroupBox("Channel selector ", parent) {
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(5, 5, 5, 5);
    layout->setSpacing(5);
    const char* const texts[] = {"Intensity", "Red channel", "Green channel", "Blue channel"};
    const char* const tips[] = {"Take the mean of the three colours", "Take the red part of the colours",
                                "Take the green part of the colours", "Take the blue part of the colours"};
    for (int i = 0; i < 4; ++i) {
        __buttons[i] = new QRadioButton(texts[i], this);
        __buttons[i]->setToolTip(tips[i]);
        layout->addWidget(__buttons[i]);
    }
    __buttons[0]->setChecked(true);
    setEnabled(false);
}

void VRLChannelEditor::setChannel(ImageColorContent content) {
    const bool plain = content >= GrayContent && content <= BlueContent;
    __buttons[plain ? content : 0]->setChecked(true);
    setEnabled(!plain);
}

int VRLChannelEditor::getChannel() const {
    for (int i = 1; i < 4; ++i)
        if (__buttons[i]->isChecked())
            return i;
    return 0;
}

} // namespace vorlen
