#include "volume/SmbShare.h"

#include "volume/NameMapping.h"
#include "volume/SymlinkFile.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <system_error>

#include <fcntl.h>

namespace ternvault::volume {
namespace {

/// Longer than the volume waits for a call: it then ends the connection itself, which also ends the call.
constexpr int callTimeoutMilliseconds = 10'000;

constexpr auto settings = R"([global]
    workgroup = WORKGROUP
    disable netbios = yes
    name resolve order = host
    client min protocol = SMB2_02
    client use kerberos = off
    unix charset = UTF-8
    log level = 0
    private dir = %DIR%
    lock directory = %DIR%
    state directory = %DIR%
    cache directory = %DIR%
)";

class InCall {
public:
    explicit InCall(CallWatch& watch) : watch_(watch) {
        watch_.begin();
        errno = 0;
    }
    ~InCall() { watch_.end(); }

private:
    CallWatch& watch_;
};

[[noreturn]] void fail() {
    throw std::system_error(errno ? errno : EIO, std::generic_category());
}

/// libsmbclient's functions report by a negative number or a null pointer, and errno.
template <typename Result>
Result checked(Result result) {
    bool failed = false;
    if constexpr (std::is_pointer_v<Result>)
        failed = result == nullptr;
    else
        failed = result < 0;
    if (failed)
        fail();
    return result;
}

std::string percentEncoded(std::string_view text) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) || c == '.' || c == '-' || c == '_') {
            result += c;
        } else {
            result += '%';
            result += digits[byte >> 4];
            result += digits[byte & 0xF];
        }
    }
    return result;
}

Entry toEntry(const struct stat& status) {
    Entry entry;
    entry.size = static_cast<std::uint64_t>(status.st_size);
    if (S_ISDIR(status.st_mode))
        entry.kind = Entry::Kind::Directory;
    else if (entry.size == symlinkFileSize)
        entry.kind = Entry::Kind::FileOrSymlink;
    entry.modified = status.st_mtim;
    entry.accessed = status.st_atim;
    entry.changed = status.st_ctim;
    return entry;
}

timeval toTimeval(timespec time) {
    return {time.tv_sec, time.tv_nsec / 1000};
}

void copyBounded(char* target, int size, const std::string& text) {
    std::snprintf(target, static_cast<std::size_t>(size), "%s", text.c_str());
}

} // namespace

void isolateSambaSettings(const std::filesystem::path& state) {
    const auto home = state / "samba";
    std::filesystem::create_directories(home / ".smb");
    std::string text = settings;
    for (auto at = text.find("%DIR%"); at != text.npos; at = text.find("%DIR%"))
        text.replace(at, 5, home.string());
    std::ofstream file(home / ".smb" / "smb.conf");
    file << text << std::flush;
    if (!file)
        throw std::filesystem::filesystem_error("smb.conf", home, {errno, std::generic_category()});
    ::setenv("HOME", home.c_str(), 1);
}

SmbShare::SmbShare(const ServerAddress& address, const MountUrl& url, CallWatch& watch, unsigned generation)
    : url_(url), watch_(watch), generation_(generation),
      base_("smb://" + percentEncoded(address.text()) + "/" + percentEncoded(url.share)),
      context_(connect()) {}

SmbShare::~SmbShare() {
    const InCall call(watch_);
    timesContext_.reset();
    context_.reset();
}

SmbShare::Context SmbShare::connect() {
    const InCall call(watch_);
    Context context(checked(smbc_new_context()));
    smbc_setOptionUserData(context.get(), this);
    smbc_setFunctionAuthDataWithContext(context.get(), &SmbShare::provideLogin);
    smbc_setOptionNoAutoAnonymousLogin(context.get(), true);
    smbc_setOptionUseKerberos(context.get(), false);
    smbc_setOptionUseCCache(context.get(), false);
    smbc_setOptionUrlEncodeReaddirEntries(context.get(), false);
    smbc_setTimeout(context.get(), callTimeoutMilliseconds);
    // A dead connection is ours to notice; libsmbclient must not open another one under a running operation.
    smbc_setFunctionCheckServer(context.get(), [](SMBCCTX*, SMBCSRV*) { return 0; });
    checked(smbc_init_context(context.get()));
    smbc_setOptionProtocols(context.get(), "SMB2_02", "SMB3_11");
    struct stat root {};
    checked(smbc_getFunctionStat(context.get())(context.get(), urlOf("").c_str(), &root));
    return context;
}

void SmbShare::provideLogin(SMBCCTX* context, const char*, const char*, char* workgroup, int workgroupSize,
                            char* user, int userSize, char* password, int passwordSize) {
    const auto* self = static_cast<SmbShare*>(smbc_getOptionUserData(context));
    copyBounded(workgroup, workgroupSize, "WORKGROUP");
    copyBounded(user, userSize, self->url_.user);
    copyBounded(password, passwordSize, self->url_.password);
}

std::string SmbShare::urlOf(const std::string& path) const {
    std::string url = base_ + "/";
    for (std::size_t begin = 0; begin < path.size();) {
        const auto end = std::min(path.find('/', begin), path.size());
        const auto name = toServerName(std::string_view(path).substr(begin, end - begin));
        if (!name)
            throw std::system_error(EILSEQ, std::generic_category());
        url += percentEncoded(*name);
        if (end < path.size())
            url += '/';
        begin = end + 1;
    }
    return url;
}

Listing SmbShare::list(const std::string& directory) {
    const auto url = urlOf(directory);
    const InCall call(watch_);
    const File handle = checked(smbc_getFunctionOpendir(context_.get())(context_.get(), url.c_str()));
    Listing listing;
    struct stat status {};
    while (const auto* info = smbc_getFunctionReaddirPlus2(context_.get())(context_.get(), handle, &status)) {
        const std::string_view name = info->name;
        if (name != "." && name != "..")
            listing.emplace(toLocalName(name), toEntry(status));
    }
    smbc_getFunctionClosedir(context_.get())(context_.get(), handle);
    return listing;
}

Entry SmbShare::stat(const std::string& path) {
    const auto url = urlOf(path);
    const InCall call(watch_);
    struct stat status {};
    checked(smbc_getFunctionStat(context_.get())(context_.get(), url.c_str(), &status));
    return toEntry(status);
}

struct statvfs SmbShare::space() {
    const auto url = urlOf("");
    const InCall call(watch_);
    struct statvfs raw {};
    checked(smbc_getFunctionStatVFS(context_.get())(context_.get(), const_cast<char*>(url.c_str()), &raw));
    // Without the server's POSIX extensions f_frsize is the number of f_bsize-sized sectors in a unit.
    constexpr unsigned long smallestUnit = 512;
    if (raw.f_frsize < smallestUnit)
        raw.f_frsize *= raw.f_bsize;
    raw.f_bsize = raw.f_frsize;
    return raw;
}

SmbShare::File SmbShare::open(const std::string& path, int flags) {
    const auto url = urlOf(path);
    const InCall call(watch_);
    return checked(smbc_getFunctionOpen(context_.get())(context_.get(), url.c_str(), flags, 0666));
}

void SmbShare::close(File file) {
    const InCall call(watch_);
    if (smbc_getFunctionClose(context_.get())(context_.get(), file) < 0) {
        // It may still be open on the server, which then keeps others from it until the connection ends.
        spoiled_ = true;
        fail();
    }
}

std::size_t SmbShare::read(File file, std::uint64_t offset, char* buffer, std::size_t size) {
    const InCall call(watch_);
    checked(
        smbc_getFunctionLseek(context_.get())(context_.get(), file, static_cast<off_t>(offset), SEEK_SET));
    std::size_t done = 0;
    while (done < size) {
        watch_.begin();
        const auto count =
            checked(smbc_getFunctionRead(context_.get())(context_.get(), file, buffer + done, size - done));
        if (count == 0)
            break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

void SmbShare::write(File file, std::uint64_t offset, const char* bytes, std::size_t size) {
    const InCall call(watch_);
    checked(
        smbc_getFunctionLseek(context_.get())(context_.get(), file, static_cast<off_t>(offset), SEEK_SET));
    for (std::size_t done = 0; done < size;) {
        watch_.begin();
        const auto count =
            checked(smbc_getFunctionWrite(context_.get())(context_.get(), file, bytes + done, size - done));
        if (count == 0)
            throw std::system_error(EIO, std::generic_category());
        done += static_cast<std::size_t>(count);
    }
}

void SmbShare::truncate(File file, std::uint64_t size) {
    const InCall call(watch_);
    checked(smbc_getFunctionFtruncate(context_.get())(context_.get(), file, static_cast<off_t>(size)));
}

void SmbShare::createFile(const std::string& path, const std::string& contents) {
    const File file = open(path, O_WRONLY | O_CREAT | O_EXCL);
    try {
        write(file, 0, contents.data(), contents.size());
    } catch (...) {
        smbc_getFunctionClose(context_.get())(context_.get(), file);
        smbc_getFunctionUnlink(context_.get())(context_.get(), urlOf(path).c_str());
        throw;
    }
    close(file);
}

void SmbShare::setTimes(const std::string& path, timespec accessed, timespec modified) {
    if (wasRefusedTimes_ && !timesContext_)
        timesContext_ = connect();
    auto& context = wasRefusedTimes_ ? timesContext_ : context_;
    const auto url = urlOf(path);
    const InCall call(watch_);
    timeval times[] = {toTimeval(accessed), toTimeval(modified)};
    if (smbc_getFunctionUtimes(context.get())(context.get(), url.c_str(), times) == 0)
        return;
    const int error = errno ? errno : EIO;
    wasRefusedTimes_ = true;
    timesContext_.reset();
    throw std::system_error(error, std::generic_category());
}

void SmbShare::makeDirectory(const std::string& path) {
    const auto url = urlOf(path);
    const InCall call(watch_);
    checked(smbc_getFunctionMkdir(context_.get())(context_.get(), url.c_str(), 0777));
}

void SmbShare::removeDirectory(const std::string& path) {
    const auto url = urlOf(path);
    const InCall call(watch_);
    checked(smbc_getFunctionRmdir(context_.get())(context_.get(), url.c_str()));
}

void SmbShare::unlink(const std::string& path) {
    const auto url = urlOf(path);
    const InCall call(watch_);
    checked(smbc_getFunctionUnlink(context_.get())(context_.get(), url.c_str()));
}

void SmbShare::rename(const std::string& from, const std::string& to) {
    const auto fromUrl = urlOf(from);
    const auto toUrl = urlOf(to);
    const InCall call(watch_);
    checked(smbc_getFunctionRename(context_.get())(context_.get(), fromUrl.c_str(), context_.get(),
                                                   toUrl.c_str()));
}

} // namespace ternvault::volume
