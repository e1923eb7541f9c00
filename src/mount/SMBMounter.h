#pragma once

#include "base/Task.h"
#include "mount/VolumeTable.h"
#include "platform/Platform.h"

#include <QString>

#include <exception>
#include <string>

namespace ternvault {

/// Why a mount or an eject failed; the message is for the user, unchanged.
class SMBMounterError : public std::exception {
public:
    enum class Kind { mountFailed, unmountFailed };

    SMBMounterError(Kind kind, const QString& message) : kind_(kind), message_(message.toStdString()) {}
    Kind kind() const { return kind_; }
    const char* what() const noexcept override { return message_.c_str(); }

private:
    Kind kind_;
    std::string message_;
};

/// An external program that could not be started at all; the message is the platform's.
class ProcessStartError : public std::exception {
public:
    explicit ProcessStartError(const QString& message) : message_(message.toStdString()) {}
    const char* what() const noexcept override { return message_.c_str(); }

private:
    std::string message_;
};

/// Mounts a share of the PC as a volume under the volumes root and ejects it again, with the system's own
/// programs. Stateless: whether a volume is there is decided by the file system alone.
class SMBMounter {
public:
    explicit SMBMounter(const Platform& platform);

    /// Whether an entry of that name, of the share's or of the default share's exists under the volumes root.
    /// Any thread; never waits for a volume's server.
    bool isVolumePresent(const QString& share, const QString& volumeName) const;

    /// Throws SMBMounterError, or ProcessStartError when the mount program cannot be started. Nothing is run
    /// when the volume is there already.
    Task<> mount(QString host, QString share, QString username, QString password, QString volumeName) const;

    /// Throws SMBMounterError. Succeeds when there is nothing to eject.
    Task<> unmount(QString volumeName) const;

private:
    Task<> runMountScript(QString script) const;
    Task<> eject(QString mountPoint) const;

    const Platform& platform_;
    VolumeTable volumes_;
};

} // namespace ternvault
