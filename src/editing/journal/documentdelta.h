#pragma once

#include <string>
#include <vector>

namespace vorlen {

class ByteReader;
class ByteWriter;

/// What a step has changed about a document, by places: a generic record that knows the parts of a document and no
/// actions. States are those of partstates; "old" places count in the document before the step, "new" ones after it.
struct DocumentDelta {
    /// A member of a new list: one of the old list, by its place there, or, at -1, one that is made of the state.
    struct Entry {
        int old = -1;
        std::string state;
        std::string image; // of a new slice
    };
    /// A member that is another one now than it was.
    struct Change {
        int place = 0; // new
        std::string state;
        std::string image; // of a slice
    };
    /// A run of items of a model that was there before, or all of a new one.
    struct Splice {
        int model = 0; // new
        int start = 0; // old
        int numRemoved = 0;
        std::vector<std::string> items;
    };
    /// An item that is another one now than it was.
    struct ItemChange {
        int model = 0; // new
        int item = 0;  // new
        std::string state;
    };

    std::string stack; ///< empty when it is the same
    bool newSlices = false, newModels = false, newPoses = false;
    std::vector<Entry> slices, models, poses; ///< the whole new lists, where these are new
    std::vector<Change> changedSlices, changedModels;
    std::vector<Splice> splices; ///< ascending by model and start, apart from each other
    std::vector<ItemChange> changedItems;

    bool isEmpty() const;
    void write(ByteWriter& bytes) const;
    /// Throws FileFormatError. Places are not looked at.
    static DocumentDelta read(ByteReader& bytes);
};

} // namespace vorlen
