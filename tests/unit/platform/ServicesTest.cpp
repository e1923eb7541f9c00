#include "platform/linux/NoUserInterface.h"
#include "platform/linux/programs/MountPoints.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace ternvault::test {

using namespace Qt::StringLiterals;

TEST(Services, StartWhereverNothingCanBeWritten) {
    const TemporaryFolder folder;
    const fs::path state = folder / "state/ternvault/mounts";
    fs::create_directories(state);
    const fs::path volume = folder / "MOSSBOX1";
    writeMountRecord(state, {volume, {}, {}});
    // Permissions do not stop the superuser, folders in the way do.
    MountLock::acquire(state, volume, std::chrono::milliseconds(0));
    for (const auto& file : std::vector<fs::path>(fs::directory_iterator(state), {})) {
        if (file.extension() == ".lock" && fs::remove(file))
            fs::create_directory(file);
    }
    writeFile(folder / "file", "");
    qputenv("TERNVAULT_VOLUMES_ROOT", folder.path().c_str());
    qputenv("XDG_RUNTIME_DIR", "/nonexistent");
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    for (const char* variable : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"})
        qputenv(variable, (folder / "file").c_str());
    for (const fs::path& place : {folder / "state", folder / "file"}) {
        qputenv("XDG_STATE_HOME", place.c_str());
        QStringList problems;
        LinuxServices services([&](const QString& problem) { problems << problem; });
        Platform platform = services.platform(NoUserInterface(services.mainLoop()).services());
        platform.defaults.set(u"a"_s, 1);
        EXPECT_EQ(platform.defaults.object(u"a"_s), QVariant(qlonglong{1})) << "kept for this process";
        EXPECT_FALSE(platform.secrets.add(u"service"_s, u"account"_s, "secret"));
        EXPECT_EQ(problems.size(), 2);
        services.finishBackgroundWork(std::chrono::seconds(1));
    }
}

} // namespace ternvault::test
