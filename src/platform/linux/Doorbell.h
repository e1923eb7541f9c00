#pragma once

#include "base/FileDescriptor.h"

#include <sys/eventfd.h>

namespace ternvault {

/// Ends the poll(2) of a thread that waits for `descriptor` to be readable. Any thread.
class Doorbell {
public:
    int descriptor() const { return event_.get(); }
    void ring() const { ::eventfd_write(event_.get(), 1); }
    /// Has what rang before count no more.
    void quiet() const {
        eventfd_t rung = 0;
        ::eventfd_read(event_.get(), &rung);
    }

private:
    FileDescriptor event_{::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
};

} // namespace ternvault
