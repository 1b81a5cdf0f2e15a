#pragma once

#include <memory>
#include <vector>

namespace vorlen {

/// Which vertices of an item are selected: a bit for each, in vertex order. Indices are the caller's contract.
///
/// The bits take memory from the first one on that is set: nearly no item of a stack has one.
class ModelItemSelection {
public:
    ModelItemSelection() = default;
    ModelItemSelection(const ModelItemSelection& other);
    ModelItemSelection(ModelItemSelection&& other) noexcept;
    /// By value, for copies and moves.
    ModelItemSelection& operator=(ModelItemSelection other) noexcept;
    ~ModelItemSelection() = default;

    /// Makes it n bits, all cleared.
    void reset(int n);

    /// Gives all bits this value.
    void set(bool value);

    /// Gives bit i this value; exclusive clears all bits before.
    void set(bool value, int i, bool exclusive);

    void invert();

    /// No bit is set. True for a selection of no bits.
    bool isEmpty() const { return __numSelected == 0; }

    /// All bits are set. True for a selection of no bits.
    bool isComplete() const { return __numSelected == __numBits; }

    bool isSelected(int i) const { return __bits && (*__bits)[std::size_t(i)]; }

    /// Number of set bits; constant time.
    int getSize() const { return __numSelected; }

    /// Number of bits, set or not.
    int getNumBits() const { return __numBits; }

    /// Takes bit i, or the bits first to last inclusive, out; nothing when first is above last.
    void remove(int i);
    void remove(int first, int last);

    /// Puts a bit in front of bit i.
    void insert(int i, bool value);

    bool operator==(const ModelItemSelection& other) const;

private:
    std::vector<bool>& bits();

    int __numBits = 0;
    int __numSelected = 0;
    std::unique_ptr<std::vector<bool>> __bits; // null: none is set
};

} // namespace vorlen
