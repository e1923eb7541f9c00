#pragma once

#include "platform/FilePanel.h"
#include "platform/MainLoop.h"

#include <utility>

namespace ternvault {

/// For programs without a window: closes at once with nothing chosen.
class NoFilePanel final : public FilePanel {
public:
    explicit NoFilePanel(MainLoop& mainLoop) : mainLoop_(mainLoop) {}

    void show(const FilePanelTexts&, Completion completion) override {
        mainLoop_.post([completion = std::move(completion)] { completion(std::nullopt); });
    }

private:
    MainLoop& mainLoop_;
};

} // namespace ternvault
