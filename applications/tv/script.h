// The order in which commands of a script or of standard input are carried out: one after the
// other, with waits for events in between. Time comes from outside. Main thread.
#pragma once

#include <chrono>
#include <deque>
#include <optional>
#include <string>

#include "tv/commands.h"

namespace tv {

class Script {
public:
    using Time = std::chrono::steady_clock::time_point;

    void add(Command command) { commands_.push_back(std::move(command)); }
    /// An event came. Each event satisfies one wait; those before the one that a wait takes are
    /// used up with it.
    void onEvent(const std::string& name) { events_.push_back(name); }

    /// The next command that is due. Waits and sleeps are carried out here and never returned.
    std::optional<Command> next(Time now);
    /// When `next` should be asked again although nothing new has come; nothing: not needed.
    std::optional<Time> wakeUp() const { return until_; }
    /// The wait whose event did not come; the rest of the script is dropped.
    const std::optional<Command>& inVain() const { return inVain_; }
    bool empty() const { return commands_.empty(); }

private:
    /// False while the wait or sleep in front is not over.
    bool passed(const Command& command, Time now);
    bool takeEvent(const std::string& name);

    std::deque<Command> commands_;
    std::deque<std::string> events_;
    std::optional<Time> until_;
    std::optional<Command> inVain_;
};

} // namespace tv
