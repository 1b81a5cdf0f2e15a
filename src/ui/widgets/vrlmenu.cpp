#include "ui/widgets/vrlmenu.h"

#include <QAction>

namespace vorlen {

VRLMenu::VRLMenu(const QString& title, QWidget* parent) : QMenu(title, parent) {
    connect(
        this, qOverload<QAction*>(&QMenu::triggered), this,
        [this](QAction* action) {
            // The data hold the text as it was given where the shown one had to be escaped.
            emit triggered(action->data().isValid() ? action->data().toString() : action->text());
        });
}

} // namespace vorlen
