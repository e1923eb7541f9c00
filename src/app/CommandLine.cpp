#include "app/CommandLine.h"

#include <QByteArray>

#include <filesystem>
#include <system_error>

namespace ternvault {

namespace {

QUrl fileURL(const std::string& argument) {
    if (argument.starts_with("file:"))
        return QUrl::fromEncoded(QByteArray::fromStdString(argument));
    std::error_code ignored;
    const std::filesystem::path path = std::filesystem::absolute(argument, ignored);
    return QUrl::fromEncoded("file://" + QByteArray::fromStdString(path).toPercentEncoding("/"));
}

} // namespace

CommandLine parseCommandLine(const std::vector<std::string>& arguments) {
    CommandLine result;
    bool areOptionsOver = false;
    for (const std::string& argument : arguments) {
        if (argument.empty())
            continue;
        if (areOptionsOver || !argument.starts_with('-'))
            result.urls.push_back(fileURL(argument));
        else if (argument == "--")
            areOptionsOver = true;
        else if (argument == "--help" || argument == "-h")
            result.wantsHelp = true;
        else if (argument == "--version")
            result.wantsVersion = true;
        else if (argument == "--dbus-service")
            result.isBusStart = true;
        else if (argument == "--paste" || argument == "--add-files")
            result.action = QString::fromStdString(argument.substr(2));
    }
    return result;
}

} // namespace ternvault
