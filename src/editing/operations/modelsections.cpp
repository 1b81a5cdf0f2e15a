#include "editing/operations/modelsections.h"

#include <algorithm>
#include <unordered_set>

#include "document/model.h"
#include "document/modelitem.h"
#include "document/stack.h"
#include "document/stackslice.h"

namespace vorlen {

ModelSections sectionsOf(const Stack& stack, const Model& model) {
    std::unordered_set<const StackSlice*> with;
    for (int i = 0; i < model.getNumItems(); ++i)
        if (model.getItem(i).getSize() > 0)
            with.insert(model.getItem(i).getSlice());
    ModelSections sections;
    std::vector<int> without; // since the last that has it
    for (int rank = 0; rank < stack.getNumSlices(); ++rank) {
        if (with.count(&stack.getSlice(rank)) == 0) {
            without.push_back(rank);
            continue;
        }
        if (!sections.outlined.empty())
            sections.lacking.insert(sections.lacking.end(), without.begin(), without.end());
        without.clear();
        sections.outlined.push_back(rank);
    }
    return sections;
}

int nextLacking(const Stack& stack, const Model& model, int rank) {
    const std::vector<int> lacking = sectionsOf(stack, model).lacking;
    if (lacking.empty())
        return -1;
    const auto behind = std::upper_bound(lacking.begin(), lacking.end(), rank);
    return behind != lacking.end() ? *behind : lacking.front();
}

} // namespace vorlen
