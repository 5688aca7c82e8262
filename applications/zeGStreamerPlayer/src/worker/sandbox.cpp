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

constexpr std::uint64_t kOfFiles =
    LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_READ_FILE;
constexpr std::uint64_t kRead =
    LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t kWrite = kRead | LANDLOCK_ACCESS_FS_WRITE_FILE |
                                 LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_REG |
                                 LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_DIR;
/// Everything that the first version of the kernel's rules knows.
constexpr std::uint64_t kHandled = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1) - 1;

constexpr std::array kSystemRead = {"/usr",  "/lib", "/lib64", "/bin", "/etc",
                                    "/proc", "/sys", "/run",   "/opt", "/applications"};
constexpr std::array kSystemWrite = {"/dev", "/tmp/.X11-unix"};

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
        landlock_ruleset_attr attributes{};
        attributes.handled_access_fs = kHandled;
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
        rule.allowed_access = S_ISDIR(status.st_mode) ? rights : rights & kOfFiles;
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
    int ruleset_ = -1;
};

void allowList(Rules& rules, const std::string& list, std::uint64_t rights) {
    std::istringstream paths(list);
    for (std::string path; std::getline(paths, path, ':');) {
        rules.allow(path, rights);
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
        for (const char* const path : kSystemWrite) {
            rules.allow(path, kWrite);
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
        rules.allow(environment("XDG_RUNTIME_DIR"), kWrite);
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
