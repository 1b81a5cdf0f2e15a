#pragma once

#include <map>
#include <memory>
#include <vector>

#include "ui/cuts/stacktask.h"

namespace vorlen {

class Image;
class Stack;
class StackSlice;

/// Small pictures of all slices of a stack in plain grey, read on a thread of its own. All of them together take at
/// most 64 MB.
class SectionPictures : public StackTask {
    Q_OBJECT

public:
    explicit SectionPictures(QObject* parent = nullptr);
    ~SectionPictures() override;

    /// Reads those that are not there, unless it is at it. Call it again when finished() comes.
    void readMissing(const Stack& stack);

    /// Gives up what is being read, and forgets what was.
    void forget();

    /// Whether all that can be read are there.
    bool isComplete(const Stack& stack) const;

    /// Null as long as it is not there, and for one that can't be read.
    const Image* pictureOf(const StackSlice& slice) const;

signals:
    /// One more is there.
    void pictureRead();

private:
    void read(const Stack& stack, const std::vector<int>& places, int side);

    std::map<const StackSlice*, std::shared_ptr<Image>> __pictures; // null for what can't be read
    unsigned int __generation = 0;                                  // counts what was forgotten
};

} // namespace vorlen
