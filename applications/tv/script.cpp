#include "tv/script.h"

#include <algorithm>

namespace tv {

namespace {

/// More than enough for any script; keeps a TV that runs for months small.
constexpr std::size_t kEventsKept = 1000;

} // namespace

bool Script::takeEvent(const std::string& name) {
    const auto found = std::find(events_.begin(), events_.end(), name);
    if (found == events_.end())
        return false;
    events_.erase(events_.begin(), found + 1);
    return true;
}

bool Script::passed(const Command& command, Time now) {
    if (!until_)
        until_ = now + std::chrono::milliseconds(command.number);
    if (command.verb == Verb::kWait && takeEvent(command.text)) {
        until_.reset();
        return true;
    }
    if (now < *until_)
        return false;
    until_.reset();
    if (command.verb == Verb::kWait)
        inVain_ = command;
    return true;
}

std::optional<Command> Script::next(Time now) {
    while (events_.size() > kEventsKept)
        events_.pop_front();
    while (!commands_.empty()) {
        Command command = commands_.front();
        if (command.verb == Verb::kWait || command.verb == Verb::kSleep) {
            if (!passed(command, now))
                return std::nullopt;
            commands_.pop_front();
            if (inVain_) {
                commands_.clear();
                return std::nullopt;
            }
            continue;
        }
        commands_.pop_front();
        return command;
    }
    return std::nullopt;
}

} // namespace tv
