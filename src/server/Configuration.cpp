#include "server/Configuration.h"

#include "server/TextFile.h"

#include <arpa/inet.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <functional>
#include <map>

namespace ternvault::server {

namespace {

using Json = nlohmann::json;

[[noreturn]] void refuse(const std::string& key, const std::string& wish) {
    throw ConfigurationError('"' + key + "\" must be " + wish);
}

std::string text(const std::string& key, const Json& value) {
    if (!value.is_string() || value.get_ref<const std::string&>().empty())
        refuse(key, "a text that is not empty");
    return value;
}

std::string absolutePath(const std::string& key, const Json& value) {
    std::string path = value.is_string() ? value.get<std::string>() : "";
    if (!path.starts_with('/'))
        refuse(key, "an absolute path");
    return path;
}

std::uint16_t port(const std::string& key, const Json& value) {
    if (!value.is_number_integer() || value < 1 || value > 65535)
        refuse(key, "a number from 1 to 65535");
    return value;
}

bool isAddress(const std::string& address) {
    in6_addr parsed{};
    return ::inet_pton(AF_INET, address.c_str(), &parsed) == 1 ||
           ::inet_pton(AF_INET6, address.c_str(), &parsed) == 1;
}

std::vector<std::string> texts(const std::string& key, const Json& value) {
    if (!value.is_array() || value.empty())
        refuse(key, "a list of texts that is not empty");
    std::vector<std::string> list;
    for (const Json& element : value)
        list.push_back(text(key, element));
    return list;
}

std::vector<std::string> addresses(const std::string& key, const Json& value) {
    auto list = texts(key, value);
    if (!std::ranges::all_of(list, isAddress))
        refuse(key, "a list of numeric addresses");
    return list;
}

Command command(const std::string& key, const Json& value) {
    Command command = texts(key, value);
    if (!command.front().starts_with('/'))
        refuse(key, "a list that begins with the absolute path of a program");
    return command;
}

Command accountCommand(const std::string& key, const Json& value) {
    Command result = command(key, value);
    if (std::ranges::find(result, userPlaceholder) == result.end())
        refuse(key, std::string("a list with the element \"") + userPlaceholder + '"');
    return result;
}

/// What to do with each key that an object may hold.
using Readers = std::map<std::string, std::function<void(const std::string& key, const Json& value)>>;

void readObject(const Json& object, const std::string& prefix, const Readers& readers) {
    for (const auto& [key, value] : object.items()) {
        const auto reader = readers.find(key);
        if (reader == readers.end())
            throw ConfigurationError("unknown key \"" + (prefix + key) + '"');
        reader->second(prefix + key, value);
    }
}

void readCommands(const std::string& key, const Json& value, Commands& commands) {
    if (!value.is_object())
        refuse(key, "an object");
    const auto into = [](Command& target, auto read) {
        return [&target, read](const std::string& name, const Json& list) { target = read(name, list); };
    };
    readObject(value, key + '.',
               {{"createSystemUser", into(commands.createSystemUser, accountCommand)},
                {"setSambaPassword", into(commands.setSambaPassword, accountCommand)},
                {"removeSambaAccount", into(commands.removeSambaAccount, accountCommand)},
                {"removeSystemUser", into(commands.removeSystemUser, accountCommand)},
                {"listDisks", into(commands.listDisks, command)},
                {"listShares", into(commands.listShares, command)}});
}

} // namespace

Configuration parseConfiguration(std::string_view content) {
    Json object;
    try {
        object = Json::parse(content, nullptr, true, true);
    } catch (const Json::parse_error& error) {
        throw ConfigurationError("not valid JSON (byte " + std::to_string(error.byte) + ')');
    } catch (const Json::out_of_range&) {
        throw ConfigurationError("a number in it is too large");
    }
    if (!object.is_object())
        throw ConfigurationError("a JSON object is expected");
    Configuration result;
    const auto into = [](auto& target, auto read) {
        return [&target, read](const std::string& key, const Json& value) { target = read(key, value); };
    };
    readObject(object, "",
               {{"listen", into(result.listen, addresses)},
                {"port", into(result.port, port)},
                {"tokenFile", into(result.tokenFile, absolutePath)},
                {"sambaConfiguration", into(result.sambaConfiguration, absolutePath)},
                {"commands", [&result](const std::string& key, const Json& value) {
                     readCommands(key, value, result.commands);
                 }}});
    return result;
}

Configuration readConfiguration(const std::filesystem::path& file) {
    try {
        return parseConfiguration(readTextFile(file));
    } catch (const std::runtime_error& error) {
        throw ConfigurationError(file.string() + ": " + error.what());
    }
}

} // namespace ternvault::server
