#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace ternvault::volume {

/// Path of the entry `name` in `directory`; the root of the share is "".
inline std::string childPath(const std::string& directory, std::string_view name) {
    return directory.empty() ? std::string(name) : directory + '/' + std::string(name);
}

inline std::string parentPath(const std::string& path) {
    const auto slash = path.rfind('/');
    return slash == path.npos ? std::string() : path.substr(0, slash);
}

inline std::string lastName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

/// Whether the path is that directory or below it.
inline bool isWithin(const std::string& path, const std::string& directory) {
    return directory.empty() || path == directory || path.starts_with(directory + '/');
}

/// Values kept by path inside the share that follow renames, of their directories too. Not thread-safe.
template <typename Value>
class PathTable {
public:
    Value* find(const std::string& path) {
        const auto it = values_.find(path);
        return it == values_.end() ? nullptr : &it->second;
    }
    Value& set(const std::string& path, Value value) {
        return values_.insert_or_assign(path, std::move(value)).first->second;
    }
    void erase(const std::string& path) { values_.erase(path); }

    /// Removes the path and all below it, and returns the values.
    std::vector<std::pair<std::string, Value>> takeSubtree(const std::string& path) {
        std::vector<std::pair<std::string, Value>> taken;
        const auto take = [&](auto it) {
            taken.emplace_back(it->first, std::move(it->second));
            return values_.erase(it);
        };
        if (const auto self = values_.find(path); self != values_.end())
            take(self);
        const auto prefix = path + '/';
        for (auto it = values_.lower_bound(prefix); it != values_.end() && it->first.starts_with(prefix);)
            it = take(it);
        return taken;
    }
    void eraseSubtree(const std::string& path) { takeSubtree(path); }

    void moveSubtree(const std::string& from, const std::string& to) {
        auto moved = takeSubtree(from);
        eraseSubtree(to);
        for (auto& [path, value] : moved)
            set(to + path.substr(from.size()), std::move(value));
    }

    template <typename Predicate>
    void eraseIf(Predicate predicate) {
        std::erase_if(values_, [&](const auto& item) { return predicate(item.second); });
    }
    auto begin() { return values_.begin(); }
    auto end() { return values_.end(); }

private:
    std::map<std::string, Value> values_;
};

} // namespace ternvault::volume
