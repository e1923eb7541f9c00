#include "cli/MountCommands.h"

#include "cli/ExitStatus.h"
#include "cli/Terminal.h"

#include <fstream>
#include <system_error>

namespace ternvault::cli {

using namespace Qt::StringLiterals;

namespace {

int report(const AppModel& model, bool succeeded) {
    if (succeeded)
        printLine(model.status);
    else
        printError(model.status);
    return succeeded ? success : failure;
}

} // namespace

Task<int> mountVolume(AppModel& model) {
    co_await model.mountSelected(true);
    co_return report(model, model.mountedVolumeName->has_value());
}

Task<int> ejectVolume(AppModel& model) {
    co_await model.unmount();
    co_return report(model, !model.mountedVolumeName->has_value());
}

int printStatus(const AppModel& model) {
    printLine(model.status);
    return model.mountedVolumeName->has_value() ? success : notMounted;
}

int printTransferLog(const AppModel& model) {
    const auto& file = model.transfers.logFile();
    if (!file) {
        printError(u"ternvault-cli: no home folder, so there is no transfer log"_s);
        return failure;
    }
    std::ifstream log(*file, std::ios::binary);
    std::error_code error;
    if (!log &&
        std::filesystem::symlink_status(*file, error).type() != std::filesystem::file_type::not_found) {
        printError(u"ternvault-cli: cannot read "_s + QString::fromStdString(file->string()));
        return failure;
    }
    for (std::string line; std::getline(log, line);)
        printLine(QString::fromStdString(line));
    return success;
}

} // namespace ternvault::cli
