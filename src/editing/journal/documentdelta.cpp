#include "editing/journal/documentdelta.h"

#include "editing/journal/journalbytes.h"

namespace vorlen {

namespace {

void write(ByteWriter& bytes, bool isNew, const std::vector<DocumentDelta::Entry>& entries) {
    bytes.flag(isNew);
    if (!isNew)
        return;
    bytes.number(entries.size());
    for (const DocumentDelta::Entry& entry : entries) {
        bytes.integer(entry.old);
        if (entry.old < 0) {
            bytes.text(entry.state);
            bytes.text(entry.image);
        }
    }
}

bool read(ByteReader& bytes, std::vector<DocumentDelta::Entry>& entries) {
    if (!bytes.flag())
        return false;
    entries.resize(bytes.count());
    for (DocumentDelta::Entry& entry : entries) {
        entry.old = bytes.smallInteger();
        if (entry.old < 0) {
            entry.state = bytes.text();
            entry.image = bytes.text();
        }
    }
    return true;
}

void write(ByteWriter& bytes, const std::vector<DocumentDelta::Change>& changes) {
    bytes.number(changes.size());
    for (const DocumentDelta::Change& change : changes) {
        bytes.integer(change.place);
        bytes.text(change.state);
        bytes.text(change.image);
    }
}

void read(ByteReader& bytes, std::vector<DocumentDelta::Change>& changes) {
    changes.resize(bytes.count());
    for (DocumentDelta::Change& change : changes) {
        change.place = bytes.smallInteger();
        change.state = bytes.text();
        change.image = bytes.text();
    }
}

} // namespace

bool DocumentDelta::isEmpty() const {
    return stack.empty() && !newSlices && !newModels && !newPoses && changedSlices.empty() && changedModels.empty() &&
           splices.empty() && changedItems.empty();
}

void DocumentDelta::write(ByteWriter& bytes) const {
    bytes.text(stack);
    vorlen::write(bytes, newSlices, slices);
    vorlen::write(bytes, newModels, models);
    vorlen::write(bytes, newPoses, poses);
    vorlen::write(bytes, changedSlices);
    vorlen::write(bytes, changedModels);
    bytes.number(splices.size());
    for (const Splice& splice : splices) {
        bytes.integer(splice.model);
        bytes.integer(splice.start);
        bytes.integer(splice.numRemoved);
        bytes.number(splice.items.size());
        for (const std::string& item : splice.items)
            bytes.text(item);
    }
    bytes.number(changedItems.size());
    for (const ItemChange& change : changedItems) {
        bytes.integer(change.model);
        bytes.integer(change.item);
        bytes.text(change.state);
    }
}

DocumentDelta DocumentDelta::read(ByteReader& bytes) {
    DocumentDelta delta;
    delta.stack = bytes.text();
    delta.newSlices = vorlen::read(bytes, delta.slices);
    delta.newModels = vorlen::read(bytes, delta.models);
    delta.newPoses = vorlen::read(bytes, delta.poses);
    vorlen::read(bytes, delta.changedSlices);
    vorlen::read(bytes, delta.changedModels);
    delta.splices.resize(bytes.count());
    for (Splice& splice : delta.splices) {
        splice.model = bytes.smallInteger();
        splice.start = bytes.smallInteger();
        splice.numRemoved = bytes.smallInteger();
        splice.items.resize(bytes.count());
        for (std::string& item : splice.items)
            item = bytes.text();
    }
    delta.changedItems.resize(bytes.count());
    for (ItemChange& change : delta.changedItems) {
        change.model = bytes.smallInteger();
        change.item = bytes.smallInteger();
        change.state = bytes.text();
    }
    return delta;
}

} // namespace vorlen
