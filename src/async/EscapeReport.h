#pragma once

#include "async/TaskScope.h"
#include "platform/UnifiedLog.h"

namespace ternvault {

/// Tells the log of every exception that leaves a detached routine: no such exception is expected.
inline TaskScope::EscapeReport reportEscapes(UnifiedLog& log) {
    return [&log](const std::exception_ptr& escaped) {
        try {
            std::rethrow_exception(escaped);
        } catch (const std::exception& error) {
            log.error(QStringLiteral("space.larkspur.ternvault"), QStringLiteral("internal"),
                      QString::fromUtf8(error.what()));
        } catch (...) {
            log.error(QStringLiteral("space.larkspur.ternvault"), QStringLiteral("internal"),
                      QStringLiteral("unknown exception"));
        }
    };
}

} // namespace ternvault
