// What media workers leave on the disk: the folder for their copies, and covers. Bus process, main
// thread.
#pragma once

#include <string>

namespace player {

/// A folder for the workers of this process alone. It goes with this object, and what a process
/// left behind that was killed goes when the next one makes its own.
class WorkerFolder {
public:
    /// Makes it in `parent`.
    explicit WorkerFolder(const std::string& parent);
    ~WorkerFolder();
    WorkerFolder(const WorkerFolder&) = delete;
    WorkerFolder& operator=(const WorkerFolder&) = delete;

    /// "" when it could not be made, which is in the log.
    const std::string& path() const { return path_; }

private:
    std::string path_;
    int lock_ = -1; ///< the folder, locked for as long as somebody works in it
};

/// Removes the covers in `folder` ("": none) whose worker does not run any more.
void removeOrphanedCovers(const std::string& folder);

} // namespace player
