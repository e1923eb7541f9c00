#include "platform/linux/X11Pasteboard.h"

#include "platform/linux/X11Connection.h"

#include <poll.h>
#include <xcb/xfixes.h>

#include <map>
#include <optional>
#include <string>
#include <utility>

namespace ternvault {

using x11::Owned;
using Clock = std::chrono::steady_clock;

namespace {

constexpr xcb_window_t none = XCB_NONE;              // atoms have the same type
constexpr std::uint32_t largest = 64U * 1024 * 1024; // bytes

} // namespace

/// Who asks the clipboard's owner. Each transfer that is given up keeps its window, and what follows gets a
/// new one: so what comes late is known by its window, and no owner's program meets a window that is gone,
/// which ends many of them.
class X11Pasteboard::Requestor {
public:
    explicit Requestor(x11::Connection connection)
        : connection_(std::move(connection)), clipboard_(x11::atom(connection_.get(), "CLIPBOARD")),
          incremental_(x11::atom(connection_.get(), "INCR")),
          property_(x11::atom(connection_.get(), "TERNVAULT_SELECTION")), window_(newWindow()) {
        hearOfNewContent();
    }

    bool isConnected() const { return x11::isConnected(connection_); }

    QByteArray read(std::string_view format, std::chrono::milliseconds patience) {
        const xcb_window_t owner = clipboardOwner();
        discardLate();
        if (const auto known = known_.find(format); known != known_.end())
            return known->second;
        const int newContents = newContents_;
        QByteArray content = ask(owner, x11::atom(connection_.get(), format), patience);
        if (newContentNotice_ != 0 && newContents == newContents_ && silentOwner_ == none)
            known_.emplace(format, content);
        return content;
    }

private:
    struct Part {
        xcb_atom_t type;
        QByteArray bytes;
    };

    /// Where the server tells, what was read is remembered until somebody else copies.
    void hearOfNewContent() {
        const auto* const extension = xcb_get_extension_data(connection_.get(), &xcb_xfixes_id);
        if (extension == nullptr || extension->present == 0)
            return;
        const Owned<xcb_xfixes_query_version_reply_t> version(xcb_xfixes_query_version_reply(
            connection_.get(),
            xcb_xfixes_query_version(connection_.get(), XCB_XFIXES_MAJOR_VERSION, XCB_XFIXES_MINOR_VERSION),
            nullptr));
        if (!version)
            return;
        xcb_xfixes_select_selection_input(connection_.get(), x11::rootWindow(connection_.get()), clipboard_,
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
        newContentNotice_ = static_cast<std::uint8_t>(extension->first_event + XCB_XFIXES_SELECTION_NOTIFY);
    }

    QByteArray ask(xcb_window_t owner, xcb_atom_t target, std::chrono::milliseconds patience) {
        if (owner == none || owner == silentOwner_)
            return {};
        silentOwner_ = owner;
        abandonedWindow_ = none;
        noticeEndOf(owner);
        xcb_convert_selection(connection_.get(), window_, clipboard_, target, property_, XCB_CURRENT_TIME);
        std::optional<QByteArray> content = answer(Clock::now() + patience);
        if (content)
            silentOwner_ = none;
        else
            abandonedWindow_ = std::exchange(window_, newWindow());
        return std::move(content).value_or(QByteArray());
    }

    xcb_window_t newWindow() {
        const xcb_window_t window = xcb_generate_id(connection_.get());
        const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, window, x11::rootWindow(connection_.get()),
                          0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                          &events);
        return window;
    }

    /// It ends the wait, and another program may get the same window's number.
    void noticeEndOf(xcb_window_t window) {
        const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(connection_.get(), window, XCB_CW_EVENT_MASK, &events);
    }

    /// What happened before it was asked for has come as events then.
    xcb_window_t clipboardOwner() {
        const xcb_get_selection_owner_cookie_t cookie =
            xcb_get_selection_owner(connection_.get(), clipboard_);
        const Owned<xcb_get_selection_owner_reply_t> reply(
            xcb_get_selection_owner_reply(connection_.get(), cookie, nullptr));
        return reply ? reply->owner : none;
    }

    /// Nothing when it did not come in time, or not whole.
    std::optional<QByteArray> answer(Clock::time_point deadline) {
        const Owned<xcb_generic_event_t> notice = next(XCB_SELECTION_NOTIFY, deadline);
        if (!notice)
            return std::nullopt;
        const auto& answered = reinterpret_cast<const xcb_selection_notify_event_t&>(*notice);
        if (answered.property == none)
            return QByteArray();
        Part whole = takePart();
        return whole.type == incremental_ ? allParts(deadline) : std::move(whole.bytes);
    }

    /// The owner writes a part each time the one before was removed, and an empty one at the end.
    std::optional<QByteArray> allParts(Clock::time_point deadline) {
        QByteArray content;
        while (next(XCB_PROPERTY_NOTIFY, deadline)) {
            const Part part = takePart();
            if (part.type == none)
                continue; // a notice of what has been taken already, or of its removal
            if (part.bytes.isEmpty())
                return content;
            content += part.bytes;
            if (content.size() > qsizetype(largest))
                break;
        }
        return std::nullopt;
    }

    Part takePart() {
        const xcb_get_property_cookie_t cookie = xcb_get_property(connection_.get(), 1, window_, property_,
                                                                  XCB_GET_PROPERTY_TYPE_ANY, 0, largest / 4);
        const Owned<xcb_get_property_reply_t> reply(
            xcb_get_property_reply(connection_.get(), cookie, nullptr));
        if (!reply || reply->bytes_after != 0)
            return {none, {}};
        const auto* const bytes = static_cast<const char*>(xcb_get_property_value(reply.get()));
        return {reply->type, QByteArray(bytes, xcb_get_property_value_length(reply.get()))};
    }

    /// The next event of the kind for the present transfer; null at the deadline, or when the owner is gone.
    Owned<xcb_generic_event_t> next(std::uint8_t kind, Clock::time_point deadline) {
        xcb_flush(connection_.get());
        while (true) {
            while (Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())}) {
                if (windowOf(*event) != window_)
                    takeLate(*event);
                else if (kindOf(*event) == kind)
                    return event;
            }
            if (silentOwner_ == none)
                return nullptr;
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            pollfd readable{xcb_get_file_descriptor(connection_.get()), POLLIN, 0};
            if (left.count() <= 0 || !isConnected() ||
                ::poll(&readable, 1, static_cast<int>(left.count())) == 0)
                return nullptr;
        }
    }

    void discardLate() {
        while (const Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())})
            takeLate(*event);
    }

    /// Whoever still answers is asked again. Parts are removed, so that their owner comes to an end.
    void takeLate(const xcb_generic_event_t& event) {
        if (newContentNotice_ != 0 && kindOf(event) == newContentNotice_) {
            known_.clear();
            ++newContents_;
            return;
        }
        const xcb_window_t window = windowOf(event);
        if (window == none || window == window_)
            return;
        if (window == silentOwner_ || window == abandonedWindow_)
            silentOwner_ = none;
        if (kindOf(event) != XCB_DESTROY_NOTIFY)
            xcb_delete_property(connection_.get(), window, property_);
    }

    static std::uint8_t kindOf(const xcb_generic_event_t& event) {
        constexpr std::uint8_t sentByClient = 0x80;
        return event.response_type & static_cast<std::uint8_t>(~sentByClient);
    }

    /// Which one an answer came to, or which owner is gone; none for what is neither.
    static xcb_window_t windowOf(const xcb_generic_event_t& event) {
        switch (kindOf(event)) {
        case XCB_SELECTION_NOTIFY:
            return reinterpret_cast<const xcb_selection_notify_event_t&>(event).requestor;
        case XCB_DESTROY_NOTIFY:
            return reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window;
        case XCB_PROPERTY_NOTIFY: {
            const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
            return change.state == XCB_PROPERTY_NEW_VALUE ? change.window : none;
        }
        default:
            return none;
        }
    }

    x11::Connection connection_;
    xcb_atom_t clipboard_;
    xcb_atom_t incremental_;
    xcb_atom_t property_;
    xcb_window_t window_;
    /// The owner that has not answered yet.
    xcb_window_t silentOwner_ = none;
    /// The window of the transfer that was given up because of it.
    xcb_window_t abandonedWindow_ = none;
    /// Number of the event that tells that somebody else copied; 0 where the server does not.
    std::uint8_t newContentNotice_ = 0;
    /// How often it came.
    int newContents_ = 0;
    /// By format.
    std::map<std::string, QByteArray, std::less<>> known_;
};

X11Pasteboard::X11Pasteboard(std::chrono::milliseconds patience) : patience_(patience) {}

X11Pasteboard::~X11Pasteboard() = default;

QByteArray X11Pasteboard::content(const QString& mimeType) const {
    if (!requestor_ || !requestor_->isConnected()) {
        x11::Connection connection = x11::connect();
        requestor_ = connection ? std::make_unique<Requestor>(std::move(connection)) : nullptr;
    }
    const QByteArray format = mimeType.toLatin1();
    return requestor_
               ? requestor_->read({format.constData(), static_cast<std::size_t>(format.size())}, patience_)
               : QByteArray();
}

} // namespace ternvault
