#pragma once

#include <optional>
#include <string>
#include <vector>

#include "document/model.h"
#include "editing/operations/outcome.h"

namespace vorlen {

class Stack;
class VRLStack;

/// What is to be changed about models. Properties that are undefined stay as they are in each of them.
struct ModelChange {
    std::optional<std::string> name;
    ModelProperties properties;
    ModelItemProperties itemProperties;
};

/// Whether a model of the stack may get this name: it must not be empty, and no other model may have it.
Outcome checkModelName(const Stack& stack, const std::string& name, const Model* model = nullptr);

/// Puts a new model behind the others. What the change leaves undefined takes its default, so that every model can be
/// drawn. Refused for a name that a model can't get, and without a name.
Outcome createModel(VRLStack& stack, const ModelChange& change);

/// Changes the models in one step. Refused for a name that can't be given, for one name for several models, and for a
/// model of another stack.
Outcome changeModels(VRLStack& stack, const std::vector<Model*>& models, const ModelChange& change);

/// A model to be made of one press of a button: a name "Model N" that is free, and of a palette of colours the
/// one that is farthest from those of the other models, the first of several.
ModelChange nextModel(const Stack& stack, MPrimitive geometry);

Outcome renameModel(VRLStack& stack, Model& model, const std::string& name);

/// Puts the models into the group of this name, which is made by that; takes them out of theirs for an empty name. One
/// step. Blanks at the ends of the name go. Refused for a model of another stack.
Outcome groupModels(VRLStack& stack, const std::vector<Model*>& models, const std::string& group);

/// The models of the group, in the order of the stack.
std::vector<Model*> modelsOfGroup(Stack& stack, const std::string& group);

/// The names of the groups, each once, by the order of their first models.
std::vector<std::string> groupsOf(const Stack& stack);

/// "Group N", with the least N from 1 that no group has.
std::string nextGroup(const Stack& stack);

/// Takes the models out with their items, in one step. Refused for a model of another stack.
Outcome deleteModels(VRLStack& stack, const std::vector<Model*>& models);

} // namespace vorlen
