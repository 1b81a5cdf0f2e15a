#include "document/modelitemselection.h"

#include <algorithm>
#include <utility>

namespace vorlen {

ModelItemSelection::ModelItemSelection(const ModelItemSelection& other)
    : __numBits(other.__numBits), __numSelected(other.__numSelected),
      __bits(other.isEmpty() ? nullptr : std::make_unique<std::vector<bool>>(*other.__bits)) {
}

ModelItemSelection::ModelItemSelection(ModelItemSelection&& other) noexcept
    : __numBits(std::exchange(other.__numBits, 0)), __numSelected(std::exchange(other.__numSelected, 0)),
      __bits(std::move(other.__bits)) {
}

ModelItemSelection& ModelItemSelection::operator=(ModelItemSelection other) noexcept {
    __numBits = other.__numBits;
    __numSelected = other.__numSelected;
    __bits = std::move(other.__bits);
    return *this;
}

/// To be changed.
std::vector<bool>& ModelItemSelection::bits() {
    if (!__bits)
        __bits = std::make_unique<std::vector<bool>>(std::size_t(__numBits));
    return *__bits;
}

void ModelItemSelection::reset(int n) {
    __bits.reset();
    __numBits = n;
    __numSelected = 0;
}

void ModelItemSelection::set(bool value) {
    if (value)
        bits().assign(std::size_t(__numBits), true);
    else
        __bits.reset();
    __numSelected = value ? __numBits : 0;
}

void ModelItemSelection::set(bool value, int i, bool exclusive) {
    if (exclusive)
        set(false);
    if (isSelected(i) == value)
        return;
    bits()[std::size_t(i)] = value;
    __numSelected += value ? 1 : -1;
}

void ModelItemSelection::invert() {
    bits().flip();
    __numSelected = __numBits - __numSelected;
}

void ModelItemSelection::remove(int i) {
    remove(i, i);
}

void ModelItemSelection::remove(int first, int last) {
    if (first > last)
        return;
    __numBits -= last - first + 1;
    if (!__bits)
        return;
    const auto begin = __bits->begin() + first;
    const auto end = __bits->begin() + last + 1;
    __numSelected -= int(std::count(begin, end, true));
    __bits->erase(begin, end);
}

void ModelItemSelection::insert(int i, bool value) {
    if (__bits || value)
        bits().insert(bits().begin() + i, value);
    ++__numBits;
    __numSelected += int(value);
}

bool ModelItemSelection::operator==(const ModelItemSelection& other) const {
    return __numBits == other.__numBits && __numSelected == other.__numSelected &&
           (isEmpty() || *__bits == *other.__bits);
}

} // namespace vorlen
