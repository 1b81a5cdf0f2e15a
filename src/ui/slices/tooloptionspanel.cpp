#include "ui/slices/tooloptionspanel.h"

#include <QAction>
#include <QLabel>
#include <QVBoxLayout>

#include "ui/slices/vrlsliceeditwidgetmediator.h"

namespace vorlen {

ToolOptionsPanel::ToolOptionsPanel(VRLSliceEditWidgetMediator& editor, QWidget* parent)
    : QWidget(parent), __editor(editor) {
    __name = new QLabel(this);
    __name->setTextFormat(Qt::PlainText);
    QFont bold = __name->font();
    bold.setBold(true);
    __name->setFont(bold);
    __tip = new QLabel(this);
    __tip->setTextFormat(Qt::PlainText);
    __tip->setWordWrap(true);
    __layout = new QVBoxLayout(this);
    __layout->setContentsMargins(8, 8, 8, 8);
    __layout->setSpacing(8);
    __layout->addWidget(__name);
    __layout->addWidget(__tip);
    __layout->addStretch(1);
    connect(&editor, &VRLSliceEditWidgetMediator::toolChosen, this, &ToolOptionsPanel::showTool);
    showTool();
}

void ToolOptionsPanel::showTool() {
    const QAction& command = __editor.getCommand(__editor.getChosenTool().toUtf8().constData());
    __name->setText(command.text().remove('&'));
    __tip->setText(command.statusTip());
    if (__options != nullptr) {
        __options->hide();
        __options->deleteLater(); // the tool may be left by one of its controls
    }
    __options = __editor.newToolOptions(this);
    if (__options == nullptr)
        return;
    __layout->insertWidget(2, __options);
    __options->show();
}

} // namespace vorlen
