#pragma once

#include <QDialog>

namespace vorlen {

class ModelItem;
class VRLModelItemDialogMediator;

/// Edits the attributes of one item, or of the selected part of an item of points, as a step that can be undone. The
/// model of the item is shown and cannot be changed here.
class VRLModelItemDialog : public QDialog {
    Q_OBJECT

public:
    explicit VRLModelItemDialog(QWidget* parent = nullptr);

    void setItem(ModelItem& item);

    VRLModelItemDialogMediator& getMediator() const { return *__mediator; }

private:
    VRLModelItemDialogMediator* __mediator;
};

} // namespace vorlen
