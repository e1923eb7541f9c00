#include "server/Shares.h"

#include <algorithm>
#include <map>
#include <sstream>

#include <strings.h>

namespace ternvault::server {

namespace {

using Parameters = std::map<std::string, std::string>;

struct Section {
    std::string name;
    Parameters parameters;
};

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r");
    return first == text.npos ? "" : text.substr(first, text.find_last_not_of(" \t\r") + 1 - first);
}

std::vector<Section> parseSections(std::string_view text) {
    std::vector<Section> sections;
    std::istringstream lines{std::string(text)};
    for (std::string line; std::getline(lines, line);) {
        line = trimmed(line);
        const auto equals = line.find('=');
        if (line.starts_with('[') && line.ends_with(']'))
            sections.push_back({line.substr(1, line.size() - 2), {}});
        else if (!line.starts_with('#') && equals != line.npos && !sections.empty())
            sections.back().parameters[trimmed(line.substr(0, equals))] = trimmed(line.substr(equals + 1));
    }
    return sections;
}

bool isNamed(const Section& section, const char* name) {
    return ::strcasecmp(section.name.c_str(), name) == 0;
}

bool isOn(const Parameters& parameters, const char* name, bool otherwise) {
    const auto value = parameters.find(name);
    return value == parameters.end() ? otherwise : ::strcasecmp(value->second.c_str(), "yes") == 0;
}

bool isWritable(const Parameters& parameters) {
    const auto writers = parameters.find("write list");
    return !isOn(parameters, "read only", true) || (writers != parameters.end() && !writers->second.empty());
}

/// The global section holds what shares begin with.
Parameters merged(Parameters parameters, const Parameters& defaults) {
    parameters.insert(defaults.begin(), defaults.end());
    return parameters;
}

bool isPlaceForFiles(const Section& section) {
    const auto path = section.parameters.find("path");
    return !isNamed(section, "global") && !isNamed(section, "homes") && !isNamed(section, "printers") &&
           !section.name.ends_with('$') && isOn(section.parameters, "available", true) &&
           !isOn(section.parameters, "printable", false) && path != section.parameters.end() &&
           path->second.starts_with('/') && path->second.find('%') == std::string::npos;
}

} // namespace

std::vector<Share> parseShares(std::string_view testparmOutput) {
    std::vector<Section> sections = parseSections(testparmOutput);
    const auto global = std::ranges::find_if(sections, [](const auto& s) { return isNamed(s, "global"); });
    const Parameters defaults = global == sections.end() ? Parameters{} : global->parameters;
    std::vector<Share> shares;
    for (Section& section : sections) {
        section.parameters = merged(std::move(section.parameters), defaults);
        if (isPlaceForFiles(section))
            shares.push_back({section.name, section.parameters.at("path"), isWritable(section.parameters)});
    }
    return shares;
}

} // namespace ternvault::server
