#include "ui/slices/vrlmodetoolbar.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QToolButton>

#include "ui/icons/vrlicons.h"
#include "ui/session/vrlconfig.h"

namespace vorlen {

VRLModeToolBar::VRLModeToolBar(QWidget* parent) : QFrame(parent) {
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(1);
    auto* const group = new QButtonGroup(this); // exclusive
    const auto addButton = [&](const QString& icon, const QString& toolTip, CanvasMode mode) {
        auto* const button = new QToolButton(this);
        button->setIcon(VRLIcons::icon(icon));
        button->setIconSize(toolBarIconSize);
        button->setAutoRaise(true);
        button->setCheckable(true);
        button->setToolTip(toolTip);
        button->setAccessibleName(toolTip);
        group->addButton(button);
        layout->addWidget(button);
        connect(button, &QToolButton::clicked, this, [this, mode] { emit modeClicked(mode); });
        return button;
    };
    addButton("modebgfg", "Show images and items", AllgroundMode)->setChecked(true);
    addButton("modebg", "Show images only", BackgroundMode);
    addButton("modefg", "Show items only", ForegroundMode);
    layout->addStretch();
    setMinimumSize(sizeHint());
}

} // namespace vorlen
