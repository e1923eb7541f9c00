#pragma once

#include <map>
#include <string>
#include <vector>

namespace ternvault::server {

/// A program by its absolute path and its arguments, run without a shell. An argument such as "{user}" stands
/// for a value that is filled in before the program runs.
using Command = std::vector<std::string>;

constexpr auto userPlaceholder = "{user}";
constexpr auto sambaPlaceholder = "{sambaConfiguration}";

/// `command` with every argument that is a key of `values` replaced.
inline Command filledIn(Command command, const std::map<std::string, std::string>& values) {
    for (std::string& argument : command)
        if (const auto value = values.find(argument); value != values.end())
            argument = value->second;
    return command;
}

} // namespace ternvault::server
