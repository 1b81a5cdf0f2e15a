#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>

namespace vorlen {

/// Gives each of a number of names out once.
class UniqueNames {
public:
    /// The name, or, if it is taken, the name with the first number in brackets that is free, as "name (2)". Constant
    /// time on average, however often a name is asked for.
    std::string take(const std::string& name) {
        if (__taken.insert(name).second)
            return name;
        int& number = __numbers.try_emplace(name, 1).first->second;
        std::string other;
        do
            other = name + " (" + std::to_string(++number) + ")";
        while (!__taken.insert(other).second);
        return other;
    }

private:
    std::unordered_set<std::string> __taken;
    std::unordered_map<std::string, int> __numbers;
};

} // namespace vorlen
