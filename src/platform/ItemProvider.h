#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <functional>
#include <variant>

namespace ternvault {

/// One item of a drop, whose content comes when it is asked for.
class ItemProvider {
public:
    /// Nothing: the load failed, or the item has no such type.
    using Item = std::variant<std::monostate, QByteArray, QUrl>;
    /// Called exactly once, on any thread, also before `load` returns.
    using Completion = std::function<void(Item)>;

    virtual ~ItemProvider() = default;

    /// Loads the item as a type such as "public.file-url". The load goes on when the provider is destroyed.
    virtual void load(const QString& typeIdentifier, Completion completion) = 0;
};

} // namespace ternvault
