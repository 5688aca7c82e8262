#include "worker/sandbox.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <string>
#include <system_error>

#include "process/log.h"

namespace player {
namespace {

/// Emptying a file needs no right to write to it, but one of its own from the third version on,
/// which the headers may not know yet.
constexpr std::uint64_t kTruncate = std::uint64_t{1} << 14;
constexpr int kTruncateSince = 3;
constexpr std::uint64_t kOfFiles = LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_WRITE_FILE |
                                   LANDLOCK_ACCESS_FS_READ_FILE | kTruncate;
constexpr std::uint64_t kRead =
    LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t kWrite = kRead | LANDLOCK_ACCESS_FS_WRITE_FILE | kTruncate |
                                 LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_REG |
                                 LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_DIR;
/// Everything that the first version of the kernel's rules knows.
constexpr std::uint64_t kHandled = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1;

constexpr std::uint64_t kUse =
    LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_READ_DIR;

/// Programs, libraries and what they need to know of this machine. /etc as a whole: a rule for a
/// file ends when the file is replaced, as the one with the name servers is whenever the network
/// changes. Connecting to the sockets of the display and of the sound server takes no right to open
/// files.
constexpr std::array kSystemRead = {"/usr",
                                    "/lib",
                                    "/lib64",
                                    "/bin",
                                    "/etc",
                                    "/proc",
                                    "/sys",
                                    "/opt",
                                    "/applications",
                                    "/run/systemd/resolve",
                                    "/run/NetworkManager",
                                    "/run/resolvconf",
                                    "/run/connman",
                                    "/run/udev",
                                    "/run/opengl-driver"};
/// The display, the graphics card, the sound card. (What is shared with a sound server needs no
/// file.)
constexpr std::array kDevices = {
    "/dev/null",      "/dev/zero",       "/dev/full",          "/dev/random", "/dev/urandom",
    "/dev/dri",       "/dev/fb0",        "/dev/snd",           "/dev/dsp",    "/dev/nvidia0",
    "/dev/nvidiactl", "/dev/nvidia-uvm", "/dev/nvidia-modeset"};

/// Of GStreamer, the display and the sound server, below the viewer's home.
constexpr std::array kHomeRead = {"/.Xauthority",        "/.config/pulse",
                                  "/.asoundrc",          "/.fonts",
                                  "/.local/share/fonts", "/.local/share/gstreamer-1.0"};
/// Below the folder for caches. They are made if need be: the worker cannot once it is inside, and
/// GStreamer without a registry looks through all plugins at every start.
constexpr std::array kCacheWrite = {"/gstreamer-1.0", "/fontconfig"};

std::string environment(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/// Where GLib looks for it; "" without a home.
std::string cacheFolder(const std::string& home) {
    const std::string named = environment("XDG_CACHE_HOME");
    if (!named.empty()) {
        return named;
    }
    return home.empty() ? "" : home + "/.cache";
}

std::string folderOf(const std::string& file) {
    const std::size_t slash = file.rfind('/');
    return slash == std::string::npos ? "." : file.substr(0, slash);
}

class Rules {
public:
    Rules() {
        if (syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) >=
            kTruncateSince) {
            handled_ |= kTruncate;
        }
        landlock_ruleset_attr attributes{};
        attributes.handled_access_fs = handled_;
        // Only as much of the structure as the first version knows.
        ruleset_ = static_cast<int>(syscall(SYS_landlock_create_ruleset, &attributes,
                                            sizeof attributes.handled_access_fs, 0));
    }
    ~Rules() {
        if (ruleset_ >= 0) {
            close(ruleset_);
        }
    }
    Rules(const Rules&) = delete;
    Rules& operator=(const Rules&) = delete;

    /// What does not exist needs no rule.
    void allow(const std::string& path, std::uint64_t rights) {
        const int place = path.empty() ? -1 : open(path.c_str(), O_PATH | O_CLOEXEC);
        if (place < 0) {
            return;
        }
        struct stat status {};
        fstat(place, &status);
        landlock_path_beneath_attr rule{};
        rule.parent_fd = place;
        rule.allowed_access = handled_ & (S_ISDIR(status.st_mode) ? rights : rights & kOfFiles);
        if (syscall(SYS_landlock_add_rule, ruleset_, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) != 0) {
            logWarning("no rule for " + path + ": " + std::strerror(errno));
        }
        close(place);
    }

    bool enforce() {
        return ruleset_ >= 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
               syscall(SYS_landlock_restrict_self, ruleset_, 0) == 0;
    }

    bool possible() const { return ruleset_ >= 0; }

private:
    std::uint64_t handled_ = kHandled;
    int ruleset_ = -1;
};

void allowList(Rules& rules, const std::string& list, std::uint64_t rights) {
    std::istringstream paths(list);
    for (std::string path; std::getline(paths, path, ':');) {
        rules.allow(path, rights);
    }
}

/// What the sound server's clients share; nothing else of the user's programs.
void allowRuntime(Rules& rules) {
    const std::string runtime = environment("XDG_RUNTIME_DIR");
    rules.allow(runtime.empty() ? "" : runtime + "/pulse", kWrite);
}

/// Whoever looks for a fault names a file, which has to exist before.
void allowDebugFile(Rules& rules) {
    const std::string file = environment("GST_DEBUG_FILE");
    const int made =
        file.empty() ? -1 : open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (made >= 0) {
        close(made);
        rules.allow(file, kWrite);
    }
}

} // namespace

bool enterSandbox(const Settings& settings) {
    Rules rules;
    if (rules.possible()) {
        const std::string home = environment("HOME");
        for (const char* const path : kSystemRead) {
            rules.allow(path, kRead);
        }
        for (const char* const path : kDevices) {
            rules.allow(path, kUse);
        }
        for (const char* const path : kHomeRead) {
            rules.allow(home + path, kRead);
        }
        const std::string cache = cacheFolder(home);
        for (const char* const path : kCacheWrite) {
            if (!cache.empty()) {
                std::error_code ignored; // what cannot be made needs no rule
                std::filesystem::create_directories(cache + path, ignored);
                rules.allow(cache + path, kWrite);
            }
        }
        rules.allow("/proc/self/exe", kRead);
        rules.allow(settings.caFile, kRead);
        rules.allow(environment("XAUTHORITY"), kRead);
        allowList(rules, environment("GST_PLUGIN_PATH"), kRead);
        allowList(rules, environment("GST_PLUGIN_SYSTEM_PATH"), kRead);
        allowList(rules, environment("LD_LIBRARY_PATH"), kRead);
        const std::string registry = environment("GST_REGISTRY");
        rules.allow(registry.empty() ? "" : folderOf(registry), kWrite);
        allowRuntime(rules);
        allowDebugFile(rules);
        rules.allow(settings.downloadDir, kWrite);
        rules.allow(settings.snapshotDir, kWrite);
        if (rules.enforce()) {
            return true;
        }
    }
    logWarning(std::string("the media worker may open every file: ") + std::strerror(errno));
    return false;
}

} // namespace player
