#include "platform/linux/LinuxUserDefaults.h"

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string>
#include <thread>
#include <unistd.h>

namespace {

/// Writes `megabytes` to both streams at once, so that a reader which drains only one of them blocks it.
int flood(int megabytes) {
    const auto fill = [megabytes](int stream, char byte) {
        const std::string block(1 << 20, byte);
        for (int i = 0; i < megabytes; ++i)
            for (std::size_t done = 0; done < block.size();) {
                const ssize_t written = ::write(stream, block.data() + done, block.size() - done);
                if (written < 0)
                    std::abort();
                done += static_cast<std::size_t>(written);
            }
    };
    std::thread other(fill, STDERR_FILENO, 'e');
    fill(STDOUT_FILENO, 'o');
    other.join();
    return 0;
}

/// Ends at once and leaves a process behind that keeps both streams open for a minute.
int leaveDaemon() {
    const pid_t daemon = ::fork();
    if (daemon == 0)
        ::execlp("sleep", "sleep", "60", nullptr);
    std::cout << "started " << daemon << std::flush;
    return 0;
}

/// Stores 1, 2, ... up to `count` under the key and prints each number when it is stored.
int storeSettings(const std::string& file, const std::string& key, int count) {
    const auto complain = [](const QString& problem) { std::cerr << problem.toStdString() << std::endl; };
    ternvault::LinuxUserDefaults defaults(file, complain);
    for (int i = 1; i <= count; ++i) {
        defaults.set(QString::fromStdString(key), i);
        std::cout << i << std::endl;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const std::string behaviour = argc > 1 ? argv[1] : "";
    const std::string argument = argc > 2 ? argv[2] : "";
    if (behaviour == "flood")
        return flood(std::stoi(argument));
    if (behaviour == "exit")
        return std::stoi(argument);
    if (behaviour == "signal")
        return std::raise(std::stoi(argument));
    if (behaviour == "leave-daemon")
        return leaveDaemon();
    if (behaviour == "store-settings" && argc > 4)
        return storeSettings(argument, argv[3], std::stoi(argv[4]));
    std::cerr << "unknown behaviour: " << behaviour << '\n';
    return 64;
}
