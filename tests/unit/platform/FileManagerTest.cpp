#include "platform/linux/LinuxFileLocations.h"
#include "platform/linux/LinuxFileManager.h"
#include "support/TemporaryFolder.h"

#include <QByteArray>

#include <gtest/gtest.h>

#include <system_error>

namespace ternvault::test {

namespace {

std::error_code errorOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::system_error& error) {
        return error.code();
    }
    return {};
}

} // namespace

TEST(FileManager, CreatesNoEntryDirectlyUnderTheVolumesRootHoweverItIsSpelt) {
    const TemporaryFolder folder;
    const fs::path root = folder / "Volumes";
    fs::create_directories(root / "Mounted/sub");
    fs::create_directory_symlink(root, folder / "link");
    fs::create_directory_symlink(root / "Mounted", folder / "volume");
    LinuxFileManager files(folder.path().native() + "//Volumes/");
    const std::string base = folder.path().native();
    const std::string refused[] = {
        "/Volumes/New", "/Volumes/New/a/b",      "//Volumes//New/",  "/Volumes/Mounted/sub/../../New",
        "/link/New",    "/other/../Volumes/New", "/volume/../New/a", "/link/./New/a"};
    for (const std::string& path : refused) {
        EXPECT_EQ(errorOf([&] { files.createDirectories(base + path); }),
                  std::errc::no_such_file_or_directory)
            << path;
        EXPECT_FALSE(fs::exists(root / "New")) << path;
    }
    const std::string allowed[] = {"/Volumes", "/Volumes/Mounted/", "/Volumes/Mounted/a/b", "/volume/c",
                                   "/elsewhere/New/"};
    for (const std::string& path : allowed) {
        EXPECT_EQ(errorOf([&] { files.createDirectories(base + path); }), std::error_code()) << path;
        EXPECT_TRUE(fs::is_directory(base + path)) << path;
    }
    fs::remove_all(root);
    EXPECT_EQ(errorOf([&] { files.createDirectories(root / "New/a"); }),
              std::errc::no_such_file_or_directory);
    EXPECT_FALSE(fs::exists(root));
}

TEST(FileManager, WritesInPlaceAndRemovesTreesAndLinksButNothingBehindALink) {
    const TemporaryFolder folder;
    const fs::path file = folder / "kept/file";
    fs::create_directories(folder / "tree/deep");
    fs::create_directory(folder / "kept");
    fs::create_directory_symlink(folder / "kept", folder / "tree/deep/link");
    fs::create_symlink("nowhere", folder / "dangling");
    LinuxFileManager files(folder / "Volumes");
    files.write(file, std::string(1 << 20, 'x'));
    files.write(file, "short");
    files.remove(folder / "tree");
    files.remove(folder / "dangling");
    EXPECT_FALSE(files.exists(folder / "tree"));
    EXPECT_FALSE(fs::is_symlink(folder / "dangling"));
    EXPECT_EQ(readFile(file), "short");
    EXPECT_EQ(errorOf([&] { files.createDirectories(file / "sub"); }), std::errc::file_exists);
    EXPECT_EQ(errorOf([&] { files.write("/dev/full", "x"); }), std::errc::no_space_on_device);
}

TEST(FileManager, FollowsNoLinkAndNoMountBelowAVolume) {
    const TemporaryFolder folder;
    fs::create_directories(folder / "volume/sub");
    fs::create_directory_symlink(folder / "volume", folder / "volume/sub/link");
    fs::create_directory_symlink(folder / "volume", folder / "link");
    const LinuxFileManager files(folder / "Volumes");
    const std::tuple<fs::path, const char*, EntryKind> rows[] = {
        {folder / "volume", ".", EntryKind::onVolume},
        {folder / "volume", "sub", EntryKind::onVolume},
        {folder / "volume", "sub/none", EntryKind::none},
        {folder / "volume", "sub/link", EntryKind::link},
        {folder / "volume", "sub/link/sub", EntryKind::link},
        {folder / "volume", "../volume", EntryKind::elsewhere},
        {folder / "link", ".", EntryKind::link},
        {"/", "proc", EntryKind::elsewhere},
    };
    for (const auto& [root, item, kind] : rows)
        EXPECT_EQ(files.kindOnVolume(files.volumeIdentity(root).value(), item), kind) << root << item;
    EXPECT_EQ(
        errorOf([&] { files.kindOnVolume(*files.volumeIdentity(folder.path()), std::string(300, 'x')); }),
        std::errc::filename_too_long);
}

TEST(FileLocations, FollowTheEnvironmentThenTheUserDatabase) {
    qputenv("HOME", "/home/someone");
    qunsetenv("XDG_CONFIG_HOME");
    qputenv("XDG_DATA_HOME", "relative");
    const LinuxFileLocations set("/Volumes/");
    EXPECT_EQ(set.configuration(), "/home/someone/.config");
    EXPECT_EQ(set.applicationSupport(), "/home/someone/.local/share");
    qputenv("HOME", "");
    const auto home = LinuxFileLocations("/Volumes").home();
    EXPECT_TRUE(home && home->is_absolute());
}

} // namespace ternvault::test
