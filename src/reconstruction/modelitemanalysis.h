#pragma once

namespace vorlen {

class ModelItem;

/// Base of the analyses of one item. The item is seen, not owned.
class ModelItemAnalysis {
public:
    virtual ~ModelItemAnalysis();

    /// Forgets all results.
    virtual void clear() = 0;

    /// Analyses the present item.
    virtual void run() = 0;

    /// Another item than the present one clears the results.
    void setModelItem(const ModelItem& item);

    /// Null until an item has been set.
    const ModelItem* getModelItem() const;

private:
    const ModelItem* __item = nullptr;
};

} // namespace vorlen
