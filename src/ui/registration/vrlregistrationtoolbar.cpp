#include "ui/registration/vrlregistrationtoolbar.h"

#include <QHBoxLayout>

#include "ui/slices/vrlmodetoolbar.h"
#include "ui/slices/vrlnavigationtoolbar.h"

namespace vorlen {

VRLRegistrationToolBar::VRLRegistrationToolBar(QWidget* parent) : QFrame(parent) {
    auto* const modes = new VRLModeToolBar(this);
    auto* const navigation = new VRLNavigationToolBar(this);
    for (QFrame* part : {static_cast<QFrame*>(modes), static_cast<QFrame*>(navigation)})
        part->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Preferred);
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(5, 2, 5, 2);
    layout->setSpacing(10);
    layout->addWidget(modes);
    layout->addWidget(navigation);
    layout->addStretch();
    connect(modes, &VRLModeToolBar::modeClicked, this, &VRLRegistrationToolBar::modeClicked);
    connect(navigation, &VRLNavigationToolBar::firstClicked, this, &VRLRegistrationToolBar::firstClicked);
    connect(navigation, &VRLNavigationToolBar::nextClicked, this, &VRLRegistrationToolBar::nextClicked);
    connect(navigation, &VRLNavigationToolBar::previousClicked, this, &VRLRegistrationToolBar::previousClicked);
    connect(navigation, &VRLNavigationToolBar::lastClicked, this, &VRLRegistrationToolBar::lastClicked);
}

} // namespace vorlen
