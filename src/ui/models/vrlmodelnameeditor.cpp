#include "ui/models/vrlmodelnameeditor.h"

#include <QGroupBox>
#include <QLineEdit>
#include <QVBoxLayout>

namespace vorlen {

VRLModelNameEditor::VRLModelNameEditor(QWidget* parent) : QWidget(parent) {
    auto* box = new QGroupBox("Name", this);
    __name = new QLineEdit(box);
    __name->setAccessibleName("Model name");
    __name->setToolTip("Name of the model, of which the stack has no other");
    auto* boxLayout = new QVBoxLayout(box);
    boxLayout->addWidget(__name);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(box);
    setFocusProxy(__name);
    connect(__name, &QLineEdit::textEdited, this, &VRLModelNameEditor::modified);
}

void VRLModelNameEditor::setName(const std::string& name) {
    __name->setText(QString::fromStdString(name));
}

std::string VRLModelNameEditor::getName() const {
    return __name->text().simplified().toStdString();
}

void VRLModelNameEditor::clear() {
    __name->clear();
}

void VRLModelNameEditor::selectName() {
    __name->setFocus();
    __name->selectAll();
}

} // namespace vorlen
