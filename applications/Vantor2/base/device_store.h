// What the daemon remembers over restarts: its identity and the name that somebody gave it.
//
// A file of JSON in the state directory. A new name is on disk when setFriendlyName returns: the
// next thing that happens may be SIGKILL. Main thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace vantor {

class DeviceStore {
public:
    /// Reads the file, or makes the directory (for its owner alone) and a file with a new
    /// identity. A file that cannot be understood is kept under another name and replaced.
    /// Nothing, and the reason in `error`, when the directory cannot be used.
    ///
    /// The directory belongs to one daemon at a time, as long as the store lives. One that is still
    /// there after `patience` stays, and this one uses a directory inside it: two renderers with
    /// one identity would hide each other. Waits.
    static std::optional<DeviceStore>
    open(const std::string& directory, std::string& error,
         std::chrono::milliseconds patience = std::chrono::seconds(2));

    const std::string& uuid() const { return uuid_; }
    /// The given name, %h not replaced; nothing when none was given.
    const std::optional<std::string>& friendlyName() const { return friendlyName_; }

    /// False, and the old name kept, when the name is not usable or does not reach the disk.
    bool setFriendlyName(const std::string& name);

    /// Where this run's requests for permission begin to count; never 0. Who has seen one takes
    /// another one with its number for the same, also when the daemon was started again meanwhile.
    std::uint32_t firstRequestId() const { return firstRequestId_; }
    /// Before somebody sees that number: from now on another run begins behind it. On disk when it
    /// returns, once in many numbers; a disk that refuses is told in the log.
    void keepRequestId(std::uint32_t id);

private:
    /// An open directory, closed with the last copy.
    using Hold = std::shared_ptr<const int>;
    static Hold holdDirectory(const std::string& path);
    DeviceStore(std::string directory, Hold hold)
        : directory_(std::move(directory)), hold_(std::move(hold)) {}
    bool load(std::string& error);
    bool save(std::string& error);

    std::string directory_;
    Hold hold_;
    std::string uuid_;
    std::optional<std::string> friendlyName_;
    std::uint32_t firstRequestId_ = 1;
    std::uint32_t nextRequestId_ = 1; ///< where the next run begins
};

/// At most 255 bytes of UTF-8, not only blanks, no control characters.
bool isUsableName(const std::string& name);

/// The name as the network sees it: %h is the host's name, %% a percent sign.
std::string resolveName(const std::string& unresolved, const std::string& hostName);

} // namespace vantor
