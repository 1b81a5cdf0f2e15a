#include "editing/operations/modeloperations.h"

#include <algorithm>
#include <array>
#include <limits>
#include <set>

#include "editing/actions/vrlactionsequence.h"
#include "editing/actions/vrlmodelcreationaction.h"
#include "editing/actions/vrlmodeldeletionaction.h"
#include "editing/actions/vrlmodelstateaction.h"
#include "editing/operations/applyinstep.h"
#include "editing/stacks/vrlstack.h"

namespace vorlen {

namespace {

Outcome requireModels(const Stack& stack, const std::vector<Model*>& models) {
    for (const Model* model : models)
        if (stack.findModel(*model) < 0)
            return Outcome::refused("The model is not in this stack");
    return Outcome::done();
}

} // namespace

Outcome checkModelName(const Stack& stack, const std::string& name, const Model* model) {
    if (name.empty())
        return Outcome::refused("The model name is empty");
    for (int i = 0; i < stack.getNumModels(); ++i)
        if (&stack.getModel(i) != model && stack.getModel(i).getName() == name)
            return Outcome::refused("A model named " + name + " already exists in this stack");
    return Outcome::done();
}

Outcome createModel(VRLStack& stack, const ModelChange& change) {
    const std::string name = change.name.value_or("");
    if (const Outcome free = checkModelName(stack, name); !free)
        return free;
    auto model = std::make_unique<Model>();
    model->setName(name);
    model->getProperties().update(change.properties);
    model->getItemProperties().update(change.itemProperties);
    return applyInStep(stack, std::make_unique<VRLModelCreationAction>(stack, std::move(model)));
}

Outcome changeModels(VRLStack& stack, const std::vector<Model*>& models, const ModelChange& change) {
    if (const Outcome known = requireModels(stack, models); !known)
        return known;
    if (change.name && models.size() > 1)
        return Outcome::refused("Several models can't have one name");
    auto step = std::make_unique<VRLActionSequence>();
    for (Model* model : models) {
        ModelState state(*model);
        if (change.name && *change.name != state.name) {
            if (const Outcome free = checkModelName(stack, *change.name, model); !free)
                return free;
            state.name = *change.name;
        }
        state.properties.update(change.properties);
        state.itemProperties.update(change.itemProperties);
        auto action = std::make_unique<VRLModelStateAction>(stack, *model);
        action->setState(state);
        if (!action->isNull())
            step->append(std::move(action));
    }
    return applyInStep(stack, std::move(step));
}

namespace {

/// Colours that stand out from each other and from greys, also for most who see colours differently (after M. Okabe and
/// K. Ito, Color Universal Design, 2008), and some between them.
constexpr std::array<std::array<int, 3>, 12> palette = {{{230, 60, 40},
                                                         {0, 158, 115},
                                                         {86, 180, 233},
                                                         {240, 228, 66},
                                                         {204, 121, 167},
                                                         {230, 159, 0},
                                                         {0, 114, 178},
                                                         {150, 220, 60},
                                                         {160, 90, 220},
                                                         {0, 220, 220},
                                                         {255, 150, 150},
                                                         {150, 100, 50}}};

int distance(const std::array<int, 3>& one, const std::array<int, 3>& other) {
    int sum = 0;
    for (std::size_t k = 0; k < 3; ++k)
        sum += (one[k] - other[k]) * (one[k] - other[k]);
    return sum;
}

std::array<int, 3> freshColor(const Stack& stack) {
    std::array<int, palette.size()> nearest;
    nearest.fill(std::numeric_limits<int>::max());
    for (int i = 0; i < stack.getNumModels(); ++i) {
        ModelItemProperties look;
        look.setDefaults();
        look.update(stack.getModel(i).getItemProperties());
        const Vector<int>& color = look.getColor();
        std::array<int, 3> used;
        for (int k = 0; k < 3; ++k)
            used[std::size_t(k)] = std::clamp(color[k], 0, 255);
        for (std::size_t k = 0; k < palette.size(); ++k)
            nearest[k] = std::min(nearest[k], distance(palette[k], used));
    }
    return palette[std::size_t(std::max_element(nearest.begin(), nearest.end()) - nearest.begin())];
}

} // namespace

ModelChange nextModel(const Stack& stack, MPrimitive geometry) {
    ModelChange change;
    int number = stack.getNumModels() + 1;
    while (!checkModelName(stack, "Model " + std::to_string(number)))
        ++number;
    change.name = "Model " + std::to_string(number);
    change.properties.setGeometry(geometry);
    const std::array<int, 3> color = freshColor(stack);
    change.itemProperties.setColor(color[0], color[1], color[2]);
    return change;
}

Outcome renameModel(VRLStack& stack, Model& model, const std::string& name) {
    ModelChange change;
    change.name = name;
    return changeModels(stack, {&model}, change);
}

namespace {

std::string withoutOuterBlanks(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\n\r");
    return first == std::string::npos ? std::string()
                                      : text.substr(first, text.find_last_not_of(" \t\n\r") - first + 1);
}

} // namespace

Outcome groupModels(VRLStack& stack, const std::vector<Model*>& models, const std::string& group) {
    if (const Outcome known = requireModels(stack, models); !known)
        return known;
    const std::string name = withoutOuterBlanks(group);
    auto step = std::make_unique<VRLActionSequence>(name.empty() ? "Take out of group" : "Put in group");
    for (Model* model : models) {
        if (model->getGroup() == name)
            continue;
        ModelState state(*model);
        state.properties.setGroup(name);
        auto action = std::make_unique<VRLModelStateAction>(stack, *model);
        action->setState(state);
        step->append(std::move(action));
    }
    return applyInStep(stack, std::move(step));
}

std::vector<Model*> modelsOfGroup(Stack& stack, const std::string& group) {
    std::vector<Model*> models;
    for (int i = 0; i < stack.getNumModels(); ++i)
        if (stack.getModel(i).getGroup() == group)
            models.push_back(&stack.getModel(i));
    return models;
}

std::vector<std::string> groupsOf(const Stack& stack) {
    std::vector<std::string> groups;
    std::set<std::string> seen = {""};
    for (int i = 0; i < stack.getNumModels(); ++i)
        if (const std::string group = stack.getModel(i).getGroup(); seen.insert(group).second)
            groups.push_back(group);
    return groups;
}

std::string nextGroup(const Stack& stack) {
    const std::vector<std::string> taken = groupsOf(stack);
    int number = 1;
    while (std::find(taken.begin(), taken.end(), "Group " + std::to_string(number)) != taken.end())
        ++number;
    return "Group " + std::to_string(number);
}

Outcome deleteModels(VRLStack& stack, const std::vector<Model*>& models) {
    if (const Outcome known = requireModels(stack, models); !known)
        return known;
    std::vector<Model*> each;
    for (Model* model : models)
        if (std::find(each.begin(), each.end(), model) == each.end())
            each.push_back(model);
    auto step = std::make_unique<VRLActionSequence>();
    for (Model* model : each)
        step->append(std::make_unique<VRLModelDeletionAction>(stack, *model));
    return applyInStep(stack, std::move(step));
}

} // namespace vorlen
