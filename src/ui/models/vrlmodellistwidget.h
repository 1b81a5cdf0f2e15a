#pragma once

#include <string>
#include <vector>

#include <QListWidget>

namespace vorlen {

class Stack;

/// A sorted list of the names of models, several of which may be selected.
class VRLModelListWidget : public QListWidget {
    Q_OBJECT

public:
    explicit VRLModelListWidget(QWidget* parent = nullptr);

    void addModel(const std::string& name);

    /// Adds the models of the stack.
    void addModels(const Stack& stack);

    /// Names of the selected models, in the order of the list.
    std::vector<std::string> selectedModels() const;

    /// Operations that send no signals.
    void removeSelectedModels();
    void clearSelected();
    void removeModels();
};

} // namespace vorlen
