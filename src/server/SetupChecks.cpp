#include "server/SetupChecks.h"

#include "server/Disks.h"
#include "server/SetupError.h"
#include "server/SetupPrograms.h"
#include "server/TextFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <system_error>

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace ternvault::server {

namespace {

namespace fs = std::filesystem;

constexpr std::array systemFolders{"/bin",  "/boot", "/dev", "/etc",  "/lib", "/lib32", "/lib64", "/libx32",
                                   "/proc", "/root", "/run", "/sbin", "/sys", "/tmp",   "/usr",   "/var"};
/// They hold others' folders: what is below them may be served, they themselves may not.
constexpr std::array meetingFolders{"/", "/home", "/media", "/mnt", "/opt", "/srv"};

bool isAtOrBelow(const fs::path& path, const fs::path& folder) {
    return std::ranges::mismatch(folder, path).in1 == folder.end();
}

struct stat attributesOf(const fs::path& path) {
    struct stat attributes {};
    if (::stat(path.c_str(), &attributes) != 0)
        throw SetupError(path.string() + ": " + std::generic_category().message(errno));
    return attributes;
}

void refuseSystemFolders(const fs::path& folder) {
    const bool ofSystem =
        std::ranges::any_of(systemFolders, [&](auto place) { return isAtOrBelow(folder, place); });
    const bool meeting = std::ranges::find(meetingFolders, folder) != meetingFolders.end();
    if (ofSystem || meeting || folder.parent_path() == "/home")
        throw SetupError(folder.string() +
                         " belongs to the system or is a whole home folder: name a disk mounted "
                         "elsewhere, for example below /srv, or a folder on it");
}

/// Samba replaces what begins with '%', and a line is what its configuration consists of; one that ends with
/// '\' goes on, and blanks at its end do not count.
void refuseUnspeakableNames(const fs::path& folder) {
    const std::string path = folder;
    if (std::ranges::any_of(path, [](unsigned char c) { return c < ' ' || c == 0x7f || c == '%'; }))
        throw SetupError("Samba cannot serve a folder with '%' or a control character in its path");
    if (path.ends_with('\\') || path.ends_with(' '))
        throw SetupError("Samba cannot serve a folder whose path ends with '\\' or a blank");
}

void refuseClosedParents(const fs::path& folder) {
    for (fs::path parent = folder.parent_path(); parent != "/"; parent = parent.parent_path())
        if ((attributesOf(parent).st_mode & S_IXOTH) == 0)
            throw SetupError(
                "accounts could not reach " + folder.string() + ": " + parent.string() +
                " is closed to others; mount the disk elsewhere, for example below /srv, or open it "
                "with chmod o+x");
}

void refuseReadOnly(const fs::path& folder) {
    struct statvfs fileSystem {};
    if (::statvfs(folder.c_str(), &fileSystem) == 0 && (fileSystem.f_flag & ST_RDONLY) != 0)
        throw SetupError("the file system of " + folder.string() + " is mounted for reading only");
}

/// The disks of the PC as the agent tells them to clients, as if `folder` were a share.
std::vector<Disk> disksWith(Programs& programs, const Command& listDisks, const fs::path& folder) {
    const ProgramResult listing = programs.run(listDisks, "", programPatience);
    try {
        if (listing.succeeded())
            return describeDisks(listing.output, parseMounts(readTextFile("/proc/self/mountinfo")),
                                 {{folder, folder, true}});
    } catch (const DisksError&) {
        // Neither is a list of disks.
    }
    throw SetupError(listDisks.front() + " does not tell on which disk " + folder.string() +
                     " lies: say --system-disk to serve it all the same");
}

void refuseSystemDisk(Programs& programs, const Configuration& configuration, const fs::path& folder) {
    if (attributesOf(folder).st_dev == attributesOf("/").st_dev)
        throw SetupError(folder.string() +
                         " lies on the system's own file system: mount the disk there first, or say "
                         "--system-disk to serve a folder of the system's disk");
    for (const Disk& disk : disksWith(programs, configuration.commands.listDisks, folder))
        if (disk.isSystem && disk.shareName)
            throw SetupError(folder.string() + " lies on " + disk.path +
                             ", which carries the system: say --system-disk to serve it all the same");
}

} // namespace

void checkPc() {
    if (::geteuid() != 0)
        throw SetupError("only root may set this PC up: sudo mossbox-agent setup ...");
    for (const auto program : {smbdProgram, testparmProgram, smbpasswdProgram})
        if (::access(program, X_OK) != 0)
            throw SetupError(std::string(program) + " is missing: install Samba first, apt install samba");
}

fs::path checkedFolder(Programs& programs, const Configuration& configuration, const fs::path& folder,
                       bool systemDisk) {
    std::error_code error;
    fs::path real = fs::canonical(folder, error);
    if (error)
        throw SetupError(folder.string() + ": " + error.message());
    if (!S_ISDIR(attributesOf(real).st_mode))
        throw SetupError(real.string() + " is no folder");
    refuseSystemFolders(real);
    refuseUnspeakableNames(real);
    if (!systemDisk)
        refuseSystemDisk(programs, configuration, real);
    refuseReadOnly(real);
    refuseClosedParents(real);
    return real;
}

} // namespace ternvault::server
