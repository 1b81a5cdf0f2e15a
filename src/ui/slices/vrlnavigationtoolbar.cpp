#include "ui/slices/vrlnavigationtoolbar.h"

#include <QHBoxLayout>
#include <QToolButton>

#include "ui/icons/vrlicons.h"
#include "ui/session/vrlconfig.h"

namespace vorlen {

VRLNavigationToolBar::VRLNavigationToolBar(QWidget* parent) : QFrame(parent) {
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(1);
    const auto addButton = [&](const QString& icon, const QString& toolTip, void (VRLNavigationToolBar::*clicked)()) {
        auto* const button = new QToolButton(this);
        button->setIcon(VRLIcons::icon(icon));
        button->setIconSize(toolBarIconSize);
        button->setAutoRaise(true);
        button->setToolTip(toolTip);
        button->setAccessibleName(toolTip);
        layout->addWidget(button);
        connect(button, &QToolButton::clicked, this, clicked);
    };
    addButton("top", "Last slice", &VRLNavigationToolBar::lastClicked);
    addButton("up", "Upper slice", &VRLNavigationToolBar::nextClicked);
    addButton("down", "Lower slice", &VRLNavigationToolBar::previousClicked);
    addButton("bottom", "First slice", &VRLNavigationToolBar::firstClicked);
    layout->addStretch();
    setMinimumSize(sizeHint());
}

} // namespace vorlen
