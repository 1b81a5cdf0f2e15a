#pragma once

#include <optional>
#include <string>
#include <tuple>

#include "numerics/exception.h"

namespace vorlen {

/// What classes of properties, each of which may be undefined, do with one or all of theirs.
namespace optionalproperties {

/// The value, or ProgramError when there is none.
template <class T>
const T& defined(const std::optional<T>& value, const char* where, const char* name) {
    if (!value)
        throw ProgramError(where, std::string(name) + ": undefined attribute");
    return *value;
}

/// Calls operation(mine.*member, other.*member) for each of the members.
template <class Class, class Operation, class... Members>
void forEachPair(Class& mine, const Class& other, const std::tuple<Members...>& members, Operation operation) {
    std::apply([&](auto... member) { (operation(mine.*member, other.*member), ...); }, members);
}

/// Both undefined, or both defined and equal. By == alone: vectors have no three-way comparison.
template <class T>
bool equal(const std::optional<T>& value, const std::optional<T>& other) {
    return value.has_value() == other.has_value() && (!value || *value == *other);
}

/// Takes every value that the other defines.
template <class Class, class... Members>
void update(Class& mine, const Class& other, const std::tuple<Members...>& members) {
    forEachPair(
        mine, other, members,
        [](auto& value, const auto& otherValue) {
            if (otherValue)
                value = otherValue;
        });
}

/// Leaves undefined what is not equal, or what is.
template <class Class, class... Members>
void keep(bool whatIsEqual, Class& mine, const Class& other, const std::tuple<Members...>& members) {
    forEachPair(
        mine, other, members,
        [whatIsEqual](auto& value, const auto& otherValue) {
            if (equal(value, otherValue) != whatIsEqual)
                value.reset();
        });
}

} // namespace optionalproperties

} // namespace vorlen
