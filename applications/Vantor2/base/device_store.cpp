#include "base/device_store.h"

#include <cerrno>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <glib.h>
#include <nlohmann/json.hpp>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/glib_handles.h"
#include "base/log.h"

namespace vantor {

namespace {

constexpr const char* kFileName = "/Vantor2.json";
constexpr std::size_t kLongestName = 255;
constexpr const char* kNextRequestId = "nextRequestId";
// So many numbers are taken at a time, and few of them are lost with a run: the disk is written for
// the first of them only.
constexpr std::uint32_t kNumbersAtATime = 1000;
// Daemons that may share a directory.
constexpr int kMostDaemons = 8;
constexpr std::chrono::milliseconds kLookAgain{10};

std::string reason(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

// Makes the directory and its parents, for the owner alone.
bool makeDirectory(const std::string& path) {
    return g_mkdir_with_parents(path.c_str(), 0700) == 0;
}

bool writeAll(int file, const std::string& text) {
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = write(file, text.data() + written, text.size() - written);
        if (count < 0) {
            return false;
        }
        written += static_cast<std::size_t>(count);
    }
    return true;
}

bool syncDirectory(const std::string& path) {
    const int directory = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory < 0) {
        return false;
    }
    const bool synced = fsync(directory) == 0;
    close(directory);
    return synced;
}

// Replaces the file as a whole: after a power cut there is the old text or the new one.
bool replaceFile(const std::string& directory, const std::string& text, std::string& error) {
    const std::string path = directory + kFileName;
    const std::string draft = path + ".new";
    const int file = ::open(draft.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (file < 0) {
        error = reason("cannot write " + draft);
        return false;
    }
    const bool written = writeAll(file, text) && fsync(file) == 0;
    if (close(file) != 0 || !written || rename(draft.c_str(), path.c_str()) != 0 ||
        !syncDirectory(directory)) {
        error = reason("cannot store " + path);
        return false;
    }
    return true;
}

} // namespace

// Null: another process holds it.
DeviceStore::Hold DeviceStore::holdDirectory(const std::string& path) {
    const int opened = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    Hold hold(new int(opened), [](const int* directory) {
        close(*directory); // which lets go of it
        delete directory;
    });
    // Where nothing can be held nobody is told apart either; what else is wrong shows when the file
    // is read.
    const bool others = flock(opened, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    return others ? nullptr : hold;
}

std::optional<DeviceStore> DeviceStore::open(const std::string& directory, std::string& error,
                                             std::chrono::milliseconds patience) {
    // Only the first one is waited for: a daemon that was killed a moment ago may not be gone yet.
    const auto until = std::chrono::steady_clock::now() + patience;
    std::string place = directory;
    for (int number = 1; number <= kMostDaemons;) {
        if (!makeDirectory(place)) {
            error = reason("cannot make " + place);
            return std::nullopt;
        }
        if (Hold hold = holdDirectory(place)) {
            DeviceStore store(place, std::move(hold));
            return store.load(error) ? std::optional<DeviceStore>(std::move(store)) : std::nullopt;
        }
        if (number == 1 && std::chrono::steady_clock::now() < until) {
            std::this_thread::sleep_for(kLookAgain);
            continue;
        }
        place = directory + "/" + std::to_string(++number);
    }
    error = "too many daemons use " + directory;
    return std::nullopt;
}

bool DeviceStore::load(std::string& error) {
    const std::string path = directory_ + kFileName;
    char* bytes = nullptr;
    gsize size = 0;
    GError* failure = nullptr;
    if (g_file_get_contents(path.c_str(), &bytes, &size, &failure)) {
        const GText owned(bytes);
        const std::string text(bytes, size);
        const auto content = nlohmann::json::parse(text, nullptr, false);
        const auto textOf = [&](const char* key) -> std::string {
            const bool present = content.is_object() && content.contains(key);
            return present && content[key].is_string() ? content[key].get<std::string>() : "";
        };
        const std::string uuid = textOf("uuid");
        if (g_uuid_string_is_valid(uuid.c_str())) {
            uuid_ = uuid;
            const std::string name = textOf("friendlyName");
            if (isUsableName(name)) {
                friendlyName_ = name;
            }
            const bool counts =
                content.contains(kNextRequestId) && content[kNextRequestId].is_number_unsigned();
            const auto next = counts ? content[kNextRequestId].get<std::uint64_t>() : 0;
            firstRequestId_ = next == 0 || next > UINT32_MAX ? 1 : static_cast<std::uint32_t>(next);
            nextRequestId_ = firstRequestId_;
            return true;
        }
        logWarning(path + " cannot be understood; it is kept as Vantor2.json.damaged");
        if (rename(path.c_str(), (path + ".damaged").c_str()) != 0) {
            logWarning(reason("it could not be renamed"));
        }
    } else {
        const bool isNew = g_error_matches(failure, G_FILE_ERROR, G_FILE_ERROR_NOENT);
        error = failure->message;
        g_error_free(failure);
        if (!isNew) {
            return false;
        }
    }
    const GText fresh(g_uuid_string_random());
    uuid_ = fresh.get();
    return save(error);
}

bool DeviceStore::save(std::string& error) {
    nlohmann::json content = {{"uuid", uuid_}, {kNextRequestId, nextRequestId_}};
    if (friendlyName_) {
        content["friendlyName"] = *friendlyName_;
    }
    return replaceFile(directory_, content.dump(4) + "\n", error);
}

void DeviceStore::keepRequestId(std::uint32_t id) {
    // Numbers go round: what is half of them ahead is behind.
    if (nextRequestId_ != id && nextRequestId_ - id <= UINT32_MAX / 2) {
        return;
    }
    // Also when the disk refuses, so that it is not asked at every request.
    nextRequestId_ = id + kNumbersAtATime;
    if (nextRequestId_ == 0) {
        nextRequestId_ = 1;
    }
    std::string error;
    if (!save(error)) {
        logWarning(error);
    }
}

bool DeviceStore::setFriendlyName(const std::string& name) {
    if (!isUsableName(name)) {
        logWarning("not a usable name: " + name);
        return false;
    }
    const std::optional<std::string> before = friendlyName_;
    friendlyName_ = name;
    std::string error;
    if (!save(error)) {
        logError(error);
        friendlyName_ = before;
        return false;
    }
    return true;
}

bool isUsableName(const std::string& name) {
    if (name.empty() || name.size() > kLongestName ||
        g_utf8_validate(name.data(), static_cast<gssize>(name.size()), nullptr) == FALSE) {
        return false;
    }
    bool isSeen = false;
    for (const char* at = name.c_str(); *at != '\0'; at = g_utf8_next_char(at)) {
        const gunichar character = g_utf8_get_char(at);
        if (g_unichar_iscntrl(character)) {
            return false;
        }
        isSeen = isSeen || !g_unichar_isspace(character);
    }
    return isSeen;
}

std::string resolveName(const std::string& unresolved, const std::string& hostName) {
    std::string name;
    for (std::size_t at = 0; at < unresolved.size(); ++at) {
        const char next = at + 1 < unresolved.size() ? unresolved[at + 1] : '\0';
        if (unresolved[at] == '%' && next == 'h') {
            name += hostName;
            ++at;
        } else if (unresolved[at] == '%' && next == '%') {
            name += '%';
            ++at;
        } else {
            name += unresolved[at];
        }
    }
    return name;
}

} // namespace vantor
