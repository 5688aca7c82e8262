#include "worker/leftovers.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "engine/cover.h"
#include "logic/numbers.h"
#include "process/log.h"

namespace player {
namespace {

namespace fs = std::filesystem;

constexpr char kPrefix[] = "zeGStreamerPlayer-";
/// More players than that do not begin at once.
constexpr int kAttempts = 100;

/// The folder's descriptor, locked; -1 and errno when somebody else has it or it is none of ours.
int lockFolder(const fs::path& folder) {
    const int place = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (place >= 0 && flock(place, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        close(place);
        errno = error;
        return -1;
    }
    return place;
}

/// Whether a folder is still the one that was opened.
bool isThere(const std::string& folder, int place) {
    struct stat named {};
    struct stat opened {};
    return stat(folder.c_str(), &named) == 0 && fstat(place, &opened) == 0 &&
           named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

bool beginsWith(const fs::path& path, const char* prefix) {
    return path.filename().string().rfind(prefix, 0) == 0;
}

void removeAbandoned(const fs::path& parent) {
    std::error_code ignored;
    for (const fs::path& folder : fs::directory_iterator(parent, ignored)) {
        const int place = beginsWith(folder, kPrefix) ? lockFolder(folder) : -1;
        if (place >= 0) {
            fs::remove_all(folder, ignored);
            close(place);
        }
    }
}

} // namespace

WorkerFolder::WorkerFolder(const std::string& parent) {
    removeAbandoned(parent);
    // Before it is locked, a folder is an abandoned one for another player that begins just now:
    // then that player has it, or has removed it, and another folder is needed.
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        std::string name = parent + "/" + kPrefix + "XXXXXX";
        if (mkdtemp(name.data()) == nullptr) {
            break;
        }
        lock_ = lockFolder(name);
        const bool taken =
            lock_ >= 0 ? !isThere(name, lock_) : errno == EWOULDBLOCK || errno == ENOENT;
        if (!taken) {
            path_ = name; // locked, or nobody can lock anything here
            return;
        }
        if (lock_ >= 0) {
            close(std::exchange(lock_, -1));
        }
    }
    logWarning("no folder for copies of films in " + parent +
               " (KETRA_DOWNLOAD_DIR): " + std::strerror(errno) + "; none are kept");
}

WorkerFolder::~WorkerFolder() {
    std::error_code ignored;
    if (!path_.empty()) {
        fs::remove_all(path_, ignored);
    }
    if (lock_ >= 0) {
        close(lock_);
    }
}

void removeOrphanedCovers(const std::string& folder) {
    std::error_code ignored;
    if (folder.empty()) {
        return;
    }
    for (const fs::path& file : fs::directory_iterator(folder, ignored)) {
        if (!beginsWith(file, kCoverPrefix)) {
            continue;
        }
        const std::string rest = file.filename().string().substr(std::strlen(kCoverPrefix));
        const auto worker = decimalNumber(rest.substr(0, rest.find('-')));
        if (worker && *worker > 0 && kill(static_cast<pid_t>(*worker), 0) != 0 && errno == ESRCH) {
            fs::remove(file, ignored);
        }
    }
}

} // namespace player
