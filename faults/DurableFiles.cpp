// Preloaded into the programs of a run that will lose its power: writes down below $FAULTS_DURABLE what each
// fsync of $FAULTS_STATE, or of something below it, made durable. N.content has the bytes of the file with
// inode number N, N.names the files of that folder, a line each.

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using Synchronise = int (*)(int);

std::string inodeOf(const fs::path& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 ? std::to_string(status.st_ino) : std::string();
}

/// Whole or not at all, whenever this process is killed.
template <typename Write>
void replace(const fs::path& file, Write write) {
    const fs::path fresh = file.string() + "." + std::to_string(::gettid());
    std::ofstream out(fresh, std::ios::binary);
    write(out);
    out.close();
    std::error_code ignored;
    fs::rename(fresh, file, ignored);
}

void writeDown(const fs::path& path, const fs::path& durable) {
    std::error_code ignored;
    if (!fs::is_directory(path, ignored)) {
        replace(durable / (inodeOf(path) + ".content"),
                [&](std::ofstream& out) { out << std::ifstream(path, std::ios::binary).rdbuf(); });
        return;
    }
    replace(durable / (inodeOf(path) + ".names"), [&](std::ofstream& out) {
        for (const auto& entry : fs::directory_iterator(path, ignored)) {
            if (!fs::is_directory(entry.symlink_status()))
                out << inodeOf(entry.path()) << ' ' << entry.path().filename().string() << '\n';
        }
    });
}

int synchronise(const char* call, int descriptor) {
    const auto real = reinterpret_cast<Synchronise>(::dlsym(RTLD_NEXT, call));
    const int result = real(descriptor);
    const char* state = std::getenv("FAULTS_STATE");
    const char* durable = std::getenv("FAULTS_DURABLE");
    std::error_code error;
    const auto path = fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error);
    if (result == 0 && state && durable && !error && path.string().starts_with(state))
        writeDown(path, durable);
    return result;
}

} // namespace

extern "C" int fsync(int descriptor) {
    return synchronise("fsync", descriptor);
}

extern "C" int fdatasync(int descriptor) {
    return synchronise("fdatasync", descriptor);
}
