#pragma once

#include <QString>

#include <filesystem>
#include <functional>
#include <optional>
#include <vector>

namespace ternvault {

/// Files and folders together, several at once; no folder can be created.
struct FilePanelTexts {
    /// Title of the confirm button.
    QString prompt;
    QString message;
};

/// The dialog with which the user chooses files and folders.
class FilePanel {
public:
    /// What was chosen; nothing when the panel was closed any other way than with its confirm button.
    using Completion = std::function<void(std::optional<std::vector<std::filesystem::path>>)>;

    virtual ~FilePanel() = default;

    /// Shows the panel free-standing and returns; `completion` runs on the main thread when it closes.
    virtual void show(const FilePanelTexts& texts, Completion completion) = 0;
};

} // namespace ternvault
