#include "reconstruction/modelitemanalysis.h"

namespace vorlen {

ModelItemAnalysis::~ModelItemAnalysis() = default;

void ModelItemAnalysis::setModelItem(const ModelItem& item) {
    if (__item == &item)
        return;
    __item = &item;
    clear();
}

const ModelItem* ModelItemAnalysis::getModelItem() const {
    return __item;
}

} // namespace vorlen
