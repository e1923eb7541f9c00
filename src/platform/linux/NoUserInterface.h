#pragma once

#include "platform/linux/LinuxServices.h"

#include <utility>

namespace ternvault {

/// For programs without a window: the file panel closes at once with nothing chosen, nothing is ever on the
/// pasteboard, and there is nothing to bring to the front.
class NoUserInterface {
public:
    explicit NoUserInterface(MainLoop& mainLoop) : filePanel_(mainLoop) {}

    UserInterface services() { return {filePanel_, pasteboard_, activation_}; }

private:
    class NoFilePanel final : public FilePanel {
    public:
        explicit NoFilePanel(MainLoop& mainLoop) : mainLoop_(mainLoop) {}
        void show(const FilePanelTexts&, Completion completion) override {
            mainLoop_.post([completion = std::move(completion)] { completion(std::nullopt); });
        }

    private:
        MainLoop& mainLoop_;
    };

    class EmptyPasteboard final : public Pasteboard {
        std::vector<QUrl> fileURLs() const override { return {}; }
        QVariant propertyList(const QString&) const override { return {}; }
        std::vector<std::optional<QString>> itemTexts(const QString&) const override { return {}; }
        bool holdsFileURLs() const override { return false; }
    };

    class NoActivation final : public Activation {
        void activate() override {}
    };

    NoFilePanel filePanel_;
    EmptyPasteboard pasteboard_;
    NoActivation activation_;
};

} // namespace ternvault
