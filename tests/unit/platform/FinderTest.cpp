#include "platform/linux/finder/FileManagers.h"
#include "platform/linux/finder/WatchedFolders.h"

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/inotify.h>
#include <unistd.h>

namespace ternvault::test {

using namespace finder;
using namespace Qt::StringLiterals;

namespace {

constexpr std::uint64_t bit(accessible::State state) {
    return std::uint64_t{1} << state;
}

constexpr std::uint64_t focused = bit(accessible::focused);
constexpr std::uint64_t editable = bit(accessible::editable);
constexpr std::uint64_t checked = bit(accessible::checked);
constexpr std::uint32_t panel = 39;

AccessibleNode window() {
    return {-1, accessible::window, bit(accessible::active), {}, {}};
}
AccessibleNode in(int parent, std::uint32_t role, std::uint64_t states = 0, const QString& name = {},
                  const QString& content = {}) {
    return {parent, role, states, name, content};
}

} // namespace

TEST(Finder, KnowsWhatHasTheFocusInEachFileManager) {
    const std::tuple<const char*, AccessibleWindow, Focus> rows[] = {
        {"Thunar, files",
         {window(), in(0, accessible::text, editable), in(0, panel, focused)},
         Focus::control},
        {"Thunar, after a change of folder", {window(), in(0, panel)}, Focus::nothing},
        {"Thunar, location", {window(), in(0, accessible::text, editable | focused)}, Focus::text},
        {"PCManFM, search in a popup",
         {window(), window(), in(0, accessible::icon, focused), in(1, accessible::text, editable | focused)},
         Focus::text},
        {"PCManFM-Qt, files",
         {window(), in(0, accessible::pageTab, focused), in(0, panel, focused)},
         Focus::control},
        {"PCManFM-Qt, new name", {window(), in(0, accessible::pageTab, focused)}, Focus::item},
        {"Dolphin, new name",
         {window(), in(0, accessible::pageTab, focused), in(0, accessible::tableCell, focused)},
         Focus::item},
        {"Dolphin, terminal", {window(), in(0, accessible::terminal, focused)}, Focus::text},
        {"Dolphin, location", {window(), in(0, accessible::comboBox, focused)}, Focus::text},
        {"Nautilus, files", {window(), in(0, accessible::tableCell, focused)}, Focus::item},
        {"the window alone", {{-1, accessible::window, focused, {}, {}}}, Focus::nothing}};
    for (const auto& [what, controls, focus] : rows)
        EXPECT_EQ(focusIn(controls), focus) << what;
}

TEST(Finder, TakesOnlyMainWindowsOfKnownFileManagers) {
    WindowInfo info;
    info.className = "Thunar";
    EXPECT_NE(fileManagerOf(info), nullptr);
    info.isTransient = true;
    EXPECT_EQ(fileManagerOf(info), nullptr);
    info = {};
    info.className = "XTerm";
    EXPECT_EQ(fileManagerOf(info), nullptr);
}

TEST(Finder, FindsTheFolderInTitleLocationAndButtons) {
    const std::tuple<const char*, QString, AccessibleWindow, std::vector<fs::path>> rows[] = {
        {"full path in the title",
         u"/Volumes/MOSSBOX1/a - b - Thunar"_s,
         {},
         {"/Volumes/MOSSBOX1/a - b", "/Volumes/MOSSBOX1/a - b - Thunar"}},
        {"location",
         u"a"_s,
         {window(), in(0, accessible::text, editable, {}, u"/Volumes/MOSSBOX1/a/"_s)},
         {"/Volumes/MOSSBOX1/a"}},
        {"location as an address",
         u"ä"_s,
         {window(), in(0, accessible::text, editable, {}, u"file:///Volumes/%C3%A4"_s)},
         {"/Volumes/ä"}},
        {"buttons, the pressed one not the last",
         u"MOSSBOX1"_s,
         {window(), in(0, accessible::radioButton, 0, u"/"_s),
          in(0, accessible::radioButton, 0, u"Volumes"_s),
          in(0, accessible::radioButton, checked, u"MOSSBOX1"_s), in(0, accessible::radioButton, 0, u"a"_s)},
         {"/Volumes/MOSSBOX1"}},
        {"buttons from right to left",
         u"MOSSBOX1"_s,
         {window(), in(0, accessible::checkBox, checked, u"MOSSBOX1"_s),
          in(0, accessible::checkBox, 0, u"Volumes"_s), in(0, accessible::checkBox, 0, u"/"_s)},
         {"/Volumes/MOSSBOX1"}},
        {"buttons without a root", u"a"_s, {window(), in(0, accessible::pushButton, 0, u"a"_s)}, {"a"}}};
    for (const auto& [what, title, controls, folders] : rows) {
        std::vector<fs::path> found = shownFolders(controls, title);
        std::erase_if(found,
                      [&name = title](const fs::path& folder) { return !isTitledAfter(name, folder); });
        EXPECT_EQ(found, folders) << what;
    }
    EXPECT_FALSE(isTitledAfter(u"ab - Thunar"_s, "/Volumes/a"));
    EXPECT_EQ(agreedFolder({"/home/a", "/Volumes/b", "/home/a"}, u"a"_s), "/home/a");
    EXPECT_EQ(agreedFolder({"/home/a", "/Volumes/a"}, u"a"_s), std::nullopt) << "tabs of one name";
    EXPECT_EQ(agreedFolder({"a", "/Volumes/a"}, u"a"_s), std::nullopt) << "views of one name";
}

TEST(Finder, KnowsWhatAProcessWatches) {
    const TemporaryFolder folder;
    const fs::path watched = folder / "a", other = folder / "b";
    fs::create_directory(watched);
    fs::create_directory(other);
    EXPECT_FALSE(isWatched(watched, getpid()));
    const int descriptor = inotify_init1(IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(descriptor, watched.c_str(), IN_CREATE), 0);
    EXPECT_TRUE(isWatched(watched, getpid()));
    EXPECT_FALSE(isWatched(other, getpid()));
    EXPECT_FALSE(isWatched(folder / "none", getpid()));
    EXPECT_FALSE(isWatched(watched, getppid())) << "another process";
    close(descriptor);
}

} // namespace ternvault::test
