#include "ui/scenes/vrlrenderingtoolbar.h"

#include <QHBoxLayout>
#include <QToolButton>

#include "ui/icons/vrlicons.h"
#include "ui/session/vrlconfig.h"

namespace vorlen {

VRLRenderingToolbar::VRLRenderingToolbar(QWidget* parent) : QFrame(parent) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(5, 2, 5, 2);
    layout->setSpacing(2);
    __addButton("home", "Reset transformations", &VRLRenderingToolbar::homeClicked);
    __addButton("camera", "Snapshot", &VRLRenderingToolbar::snapshotClicked);
    __addButton("dice", "Start/stop random rotation", &VRLRenderingToolbar::randClicked);
    __videoButton = __addButton("video", "Video start", &VRLRenderingToolbar::videoStartClicked);
    connect(__videoButton, &QToolButton::clicked, this, &VRLRenderingToolbar::recClicked);
    QToolButton* previous = __addButton("left", "Previous stack", &VRLRenderingToolbar::previousStackClicked);
    previous->setText("P");
    previous->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    QToolButton* next = __addButton("right", "Next stack", &VRLRenderingToolbar::nextStackClicked);
    next->setText("N");
    next->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    layout->addStretch(1);
}

void VRLRenderingToolbar::recClicked() {
    __videoButton->setCheckable(false);
}

QToolButton* VRLRenderingToolbar::__addButton(const QString& icon, const QString& toolTip,
                                              void (VRLRenderingToolbar::*signal)()) {
    auto* button = new QToolButton(this);
    button->setAutoRaise(true);
    button->setIconSize(toolBarIconSize);
    button->setIcon(VRLIcons::icon(icon));
    button->setToolTip(toolTip);
    button->setAccessibleName(toolTip);
    connect(button, &QToolButton::clicked, this, signal);
    layout()->addWidget(button);
    return button;
}

} // namespace vorlen
