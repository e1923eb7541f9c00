#pragma once

#include <QString>

#include <exception>
#include <string>

namespace ternvault {

/// An error of the copy engines' own; errors of the platform's file operations are std::system_error.
class TransferError : public std::exception {
public:
    static constexpr int cannotCreateDestination = 1;
    static constexpr int cannotOpenDestination = 2;
    /// Before any engine ran: the copy would lose something, or lead elsewhere than to the volume.
    static constexpr int refused = 3;
    /// After an engine ran: what arrived is not what the source has.
    static constexpr int notCopied = 4;

    /// `code`: one of the above, or the exit status of the copy tool for a folder that it could not copy.
    TransferError(int code, const QString& description)
        : code_(code), description_(description.toStdString()) {}
    int code() const { return code_; }
    const char* what() const noexcept override { return description_.c_str(); }

private:
    int code_;
    std::string description_;
};

} // namespace ternvault
