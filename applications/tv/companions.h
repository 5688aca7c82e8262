// What the TV itself sees of the companion processes on the state bus, beside the library: whether
// they are there, what they last reported, and the way to ask the player for a picture.
//
// Notices arrive on the delivery thread and are passed on to the middleware thread; `now` may be
// called on any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "ze/zeSBus.h"

namespace tv {

/// Where the library starts them from.
extern const char kDaemonPath[];
extern const char kPlayerPath[];

struct Companions {
    bool connected = true;            ///< to the state bus
    std::set<std::string> players;    ///< instance names
    std::string ownPlayer;            ///< the first that appeared
    std::int32_t playerState = 0;     ///< a ContentPlayerState of the last report, 0 before one
    std::string ownSound;             ///< likewise, of the sound services
    std::optional<unsigned> volume;   ///< 0 to 100, by its last report; none while it is not there
    bool muted = false;               ///< likewise
    bool daemon = false;              ///< it is on the bus and has reported
    unsigned daemonStarts = 0;        ///< how often one has appeared there and reported
    bool visible = false;             ///< by its last report
    std::int32_t policy = 0;          ///< likewise, who may control the renderer
    std::string name;                 ///< the renderer's, by the daemon's last report
    std::set<std::uint32_t> requests; ///< that wait for an answer
    std::uint32_t newestRequest = 0;  ///< the last one that this daemon has told of
};

class CompanionWatch {
public:
    /// `changed` is called on the middleware thread after anything changed.
    explicit CompanionWatch(std::function<void()> changed);
    ~CompanionWatch();
    CompanionWatch(const CompanionWatch&) = delete;
    CompanionWatch& operator=(const CompanionWatch&) = delete;

    /// False: there is no state bus.
    bool open();
    Companions now() const;
    /// Whether the player that commands go to is on the state bus.
    bool playerIsThere() const;
    /// Writes what is on the screen to a file. False: refused or not answered.
    bool takePicture(const std::string& file);
    /// One of the player's own adjustments. False: likewise, also below.
    bool adjustPlayer(const char* what, const std::string& value);
    /// What is shown while nothing else is: which, whether, and whether again and again.
    bool setIdleMedia(const std::string& address);
    bool runIdleMedia(bool on);
    bool loopIdleMedia(bool on);

    /// Writes the daemon a value that it has already, which may take as long as the state bus waits
    /// for an answer. False: it does not answer, or there is none.
    bool daemonAnswers();

private:
    bool tellPlayer(zeSBusCommand&& command);
    static void remoteState(zeSBusManager* manager, void* user, const char* fullName, bool added);
    static void playerChanged(zeSBusManager* manager, void* user,
                              const zeSBusStateSerializable* record);
    static void soundChanged(zeSBusManager* manager, void* user,
                             const zeSBusStateSerializable* record);
    static void daemonChanged(zeSBusManager* manager, void* user,
                              const zeSBusStateSerializable* record);
    void change(const std::function<void(Companions&)>& edit);

    std::function<void()> changed_;
    std::unique_ptr<zeMultiMBusEngine> engine_;
    std::unique_ptr<zeSBusManager> manager_;
    mutable std::mutex mutex_; // guards companions_
    Companions companions_;
};

/// The program that keeps the library from shutting down, one of the two above; null: none known.
const char* programToWaitFor(const Companions& companions);
/// Whether a child of this process runs the program, or is about to run one.
bool runsCompanion(const char* program);
/// Kills the children of this process that run the program. False: there are none.
bool killCompanion(const char* program);
/// What keeps the library from shutting the companions down, in words; empty: nothing known.
std::string reasonToWait(const Companions& companions);
/// Likewise, where only the daemon is to end.
std::string reasonToWaitForDaemon(const Companions& companions);

} // namespace tv
