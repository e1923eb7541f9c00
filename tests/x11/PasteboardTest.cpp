#include "platform/linux/X11Pasteboard.h"

#include "platform/linux/X11Connection.h"

#include <QElapsedTimer>
#include <QProcess>

#include <gtest/gtest.h>

#include <thread>

namespace ternvault::test {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Owns the clipboard and says nothing before it is told to.
class Owner {
public:
    Owner() {
        xcb_create_window(display(), XCB_COPY_FROM_PARENT, window_, x11::rootWindow(display()), 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_set_selection_owner(display(), window_, x11::atom(display(), "CLIPBOARD"), XCB_CURRENT_TIME);
        finish();
    }

    /// Answers the oldest request; without content by refusing it.
    void answer(std::string_view content, const char* type = "text/uri-list") {
        const auto event = wait(XCB_SELECTION_REQUEST);
        const auto& request = reinterpret_cast<const xcb_selection_request_event_t&>(*event);
        requestor_ = request.requestor;
        property_ = request.property;
        const std::uint32_t notices = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(display(), requestor_, XCB_CW_EVENT_MASK, &notices);
        xcb_selection_notify_event_t answer{};
        answer.response_type = XCB_SELECTION_NOTIFY;
        answer.requestor = requestor_;
        answer.selection = request.selection;
        answer.target = request.target;
        answer.property = content.empty() ? static_cast<xcb_atom_t>(XCB_NONE) : property_;
        if (!content.empty())
            write(content, type);
        xcb_send_event(display(), 0, requestor_, 0, reinterpret_cast<const char*>(&answer));
        finish();
    }
    /// The first of several parts, once the requestor is ready for it.
    void startParts(std::string_view first) {
        answer("size", "INCR");
        for (std::uint8_t state = XCB_PROPERTY_NEW_VALUE; state != XCB_PROPERTY_DELETE;)
            state = reinterpret_cast<xcb_property_notify_event_t&>(*wait(XCB_PROPERTY_NOTIFY)).state;
        write(first, "text/uri-list");
        finish();
    }

private:
    xcb_connection_t* display() { return connection_.get(); }
    void finish() { x11::atom(display(), "any"); }
    void write(std::string_view bytes, const char* type) {
        xcb_change_property(display(), XCB_PROP_MODE_REPLACE, requestor_, property_,
                            x11::atom(display(), type), 8, static_cast<std::uint32_t>(bytes.size()),
                            bytes.data());
    }
    x11::Owned<xcb_generic_event_t> wait(int kind) {
        while (true) {
            x11::Owned<xcb_generic_event_t> event(xcb_wait_for_event(display()));
            if ((event->response_type & 0x7f) == kind)
                return event;
        }
    }

    x11::Connection connection_ = x11::connect();
    xcb_window_t window_ = xcb_generate_id(display());
    xcb_window_t requestor_ = 0;
    xcb_atom_t property_ = 0;
};

xcb_window_t clipboardOwner() {
    const x11::Connection connection = x11::connect();
    const xcb_atom_t clipboard = x11::atom(connection.get(), "CLIPBOARD");
    const x11::Owned<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(
        connection.get(), xcb_get_selection_owner(connection.get(), clipboard), nullptr));
    return reply->owner;
}

/// By a program that stays behind to deliver it, and owns the clipboard a moment after it seems to have
/// ended.
void copyUriList(const QByteArray& list) {
    const xcb_window_t before = clipboardOwner();
    QProcess xclip;
    xclip.setStandardOutputFile(QProcess::nullDevice());
    xclip.start(u"xclip"_s, {u"-selection"_s, u"clipboard"_s, u"-t"_s, u"text/uri-list"_s});
    xclip.write(list);
    xclip.closeWriteChannel();
    ASSERT_TRUE(xclip.waitForFinished());
    while (clipboardOwner() == before)
        std::this_thread::yield();
}

const std::vector<QUrl> letter{QUrl(u"file:///a%20letter"_s)};
constexpr auto patience = 500ms;

bool answersAtOnce(const X11Pasteboard& pasteboard) {
    QElapsedTimer waiting;
    waiting.start();
    return pasteboard.fileURLs().empty() && waiting.elapsed() < (patience / 2).count();
}

} // namespace

TEST(X11Pasteboard, ReadsWhatIsOnTheClipboardNow) {
    const X11Pasteboard pasteboard(10s);
    EXPECT_TRUE(pasteboard.fileURLs().empty()) << "no owner";
    copyUriList("file:///a%20letter\r\n");
    EXPECT_EQ(pasteboard.fileURLs(), letter);

    std::string parts; // more than fits into one request
    for (int i = 0; i < 40'000; ++i)
        parts += "file:///" + std::string(80, 'x') + std::to_string(i) + "\r\n";
    copyUriList(QByteArray::fromStdString(parts));
    const std::vector<QUrl> urls = pasteboard.fileURLs();
    ASSERT_EQ(urls.size(), 40'000U);
    EXPECT_TRUE(urls.back().path().endsWith(u"x39999"));

    Owner text;
    const std::jthread refusing([&text] { text.answer({}); });
    EXPECT_TRUE(pasteboard.fileURLs().empty());
}

TEST(X11Pasteboard, WaitsOnceForWhoeverIsSilent) {
    const X11Pasteboard pasteboard(patience);
    Owner slow;
    EXPECT_FALSE(answersAtOnce(pasteboard));
    EXPECT_TRUE(answersAtOnce(pasteboard));
    slow.answer("file:///late\n");
    const std::jthread answering([&slow] { slow.answer("file:///a%20letter\n"); });
    EXPECT_EQ(pasteboard.fileURLs(), letter) << "asked again after its late answer";
    EXPECT_EQ(pasteboard.fileURLs(), letter) << "remembered";

    Owner silent;
    EXPECT_FALSE(answersAtOnce(pasteboard));
    copyUriList("file:///a%20letter\n");
    silent.answer("file:///late\n");
    EXPECT_EQ(pasteboard.fileURLs(), letter) << "not what was asked of another one";
}

TEST(X11Pasteboard, PartsOfAnOwnerThatLeftAreNothing) {
    const X11Pasteboard pasteboard(10s);
    auto owner = std::make_unique<Owner>();
    std::thread leaving([&owner] {
        owner->startParts("file:///part\n");
        owner.reset();
    });
    QElapsedTimer waiting;
    waiting.start();
    EXPECT_TRUE(pasteboard.fileURLs().empty());
    EXPECT_LT(waiting.elapsed(), 5000) << "whoever is gone is not waited for";
    leaving.join();
    copyUriList("file:///a%20letter\n");
    EXPECT_EQ(pasteboard.fileURLs(), letter) << "its number may be that of the one before";
}

} // namespace ternvault::test
