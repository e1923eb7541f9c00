#pragma once

#include <QString>

#include <functional>

namespace ternvault {

/// Named notifications that any process of the session may post. Main thread.
class NotificationCenter {
public:
    virtual ~NotificationCenter() = default;

    /// From now on `received` is called on the main thread for each notification of that name, whoever posts
    /// it.
    virtual void observe(const QString& name, std::function<void()> received) = 0;
};

} // namespace ternvault
