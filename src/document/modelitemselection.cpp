#include "document/modelitemselection.h"

#include <algorithm>

namespace vorlen {

void ModelItemSelection::reset(int n) {
    __bits.assign(std::size_t(n), false);
    __numSelected = 0;
}

void ModelItemSelection::set(bool value) {
    __bits.assign(__bits.size(), value);
    __numSelected = value ? int(__bits.size()) : 0;
}

void ModelItemSelection::set(bool value, int i, bool exclusive) {
    if (exclusive)
        set(false);
    __numSelected += int(value) - int(isSelected(i));
    __bits[std::size_t(i)] = value;
}

void ModelItemSelection::invert() {
    __bits.flip();
    __numSelected = int(__bits.size()) - __numSelected;
}

void ModelItemSelection::remove(int i) {
    remove(i, i);
}

void ModelItemSelection::remove(int first, int last) {
    if (first > last)
        return;
    const auto begin = __bits.begin() + first;
    const auto end = __bits.begin() + last + 1;
    __numSelected -= int(std::count(begin, end, true));
    __bits.erase(begin, end);
}

void ModelItemSelection::insert(int i, bool value) {
    __bits.insert(__bits.begin() + i, value);
    __numSelected += int(value);
}

} // namespace vorlen
