#pragma once

#include <memory>
#include <string>
#include <vector>

#include <QString>

#include "document/modelitemowner.h"
#include "editing/history/vrlaction.h"
#include "editing/journal/documentdelta.h"

namespace vorlen {

class ImageSource;
class Model;
class ModelItem;
class Pose;
class StackSlice;
class VRLStack;
struct ImageSourceKind;

/// A step that was read from a journal: exchanges the parts of a document that the step has changed for what they were
/// before, and back again, and tells of it. Applying and reverting are the same exchange, so that the action may be
/// made of what an undo has changed as well.
///
/// Parts are exchanged as objects: what was taken out comes back itself, since other actions may name it. The action
/// owns what is out. The news are coarser than those of the actions that the user made; a part that looks different is
/// told as one of which all has changed.
class JournaledAction : public VRLAction {
public:
    /// The delta fits the document as it is. Throws FileFormatError when it does not; nothing has changed then.
    JournaledAction(VRLStack& stack, const DocumentDelta& delta, const QString& description,
                    const std::vector<ImageSourceKind>& kinds);
    ~JournaledAction() override;

    void apply() override;
    void revert() override;
    bool changesDocument() const override { return __changesDocument; }
    QString description(bool verbose) const override;

    /// As apply(), for a document that nobody looks at yet.
    void applySilently();

private:
    template <class T>
    struct List;
    struct Splice;
    struct SliceChange;
    struct ModelChange;
    struct ItemChange;

    void exchange(bool tells);
    void takeItemsOut();
    void exchangeLists(bool tells);
    void exchangeSlices();
    void exchangeModels(bool tells);
    void exchangePoses(bool tells);
    void putItemsIn();
    void exchangeStates();
    void tell();

    VRLStack& __stack;
    QString __description;
    bool __changesDocument;
    std::string __state;                        // of the stack; the other one, as all that follows
    std::unique_ptr<List<StackSlice>> __slices; // null where the list stays, as the next two
    std::unique_ptr<List<Model>> __models;
    std::unique_ptr<List<Pose>> __poses;
    std::vector<Splice> __splices;
    std::vector<SliceChange> __sliceChanges;
    std::vector<ModelChange> __modelChanges;
    std::vector<ItemChange> __itemChanges;
    std::vector<ModelItem*> __gone, __come; // of the exchange under way
};

} // namespace vorlen
