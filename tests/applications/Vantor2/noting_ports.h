// A clock that tests turn, and a player and a sound service that only take notes.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "renderer/ports.h"

namespace vantor {

/// Real time plus what a test has added.
class SteadyClock : public RendererClock {
public:
    TimePoint now() const override { return std::chrono::steady_clock::now() + shift; }
    std::chrono::seconds shift{0};
};

/// Notes every command; accepts it at once unless told otherwise.
class NotingPlayer : public PlayerPort {
public:
    void open(const MediaOrder& order, CommandDone done) override {
        lastMetadata = order.trackInfo;
        lastOrder = order;
        note("open " + order.trackUri, std::move(done));
    }
    void announceNext(const MediaOrder& order, CommandDone done) override {
        lastNext = order;
        note("next " + (order.trackUri.empty() ? "none" : order.trackUri), std::move(done));
    }
    void play(const std::string& speed, CommandDone done) override {
        note("play " + speed, std::move(done));
    }
    void pause(CommandDone done) override { note("pause", std::move(done)); }
    void stop(CommandDone done) override { note("stop", std::move(done)); }
    void seek(std::uint32_t seconds, CommandDone done) override {
        note("seek " + std::to_string(seconds), std::move(done));
    }

    /// Answers everything that waits for an answer.
    void answer(bool accepted) {
        std::vector<CommandDone> waiting;
        waiting.swap(waiting_);
        for (const CommandDone& done : waiting) {
            done(accepted);
        }
    }
    /// The commands since the last call.
    std::vector<std::string> taken() {
        std::vector<std::string> all;
        all.swap(commands);
        return all;
    }

    std::vector<std::string> commands;
    std::string lastMetadata;
    MediaOrder lastOrder;
    MediaOrder lastNext;
    bool answersAtOnce = true;

private:
    void note(const std::string& command, CommandDone done) {
        commands.push_back(command);
        waiting_.push_back(std::move(done));
        if (answersAtOnce) {
            answer(true);
        }
    }
    std::vector<CommandDone> waiting_;
};

/// Notes what is fetched; a test answers.
class NotingPlaylists : public PlaylistPort {
public:
    void fetch(const std::string& uri, Fetched whenDone) override {
        fetched.push_back(uri);
        done = std::move(whenDone);
    }
    void arrives(const std::optional<std::string>& text, std::size_t skipped = 0) const {
        done(text ? std::optional<FetchedPlaylist>({*text, skipped}) : std::nullopt);
    }
    std::vector<std::string> fetched;
    Fetched done;
};

class NotingSound : public SoundPort {
public:
    void setVolume(unsigned volume, CommandDone done) override {
        note("volume " + std::to_string(volume), std::move(done));
    }
    void setMute(bool mute, CommandDone done) override {
        note(mute ? "mute" : "unmute", std::move(done));
    }
    /// Answers everything that waits for an answer.
    void answer(bool accepted) {
        std::vector<CommandDone> waiting;
        waiting.swap(waiting_);
        for (const CommandDone& done : waiting) {
            done(accepted);
        }
    }
    std::vector<std::string> commands;
    bool accepts = true;
    bool answersAtOnce = true;

private:
    void note(const std::string& command, CommandDone done) {
        commands.push_back(command);
        waiting_.push_back(std::move(done));
        if (answersAtOnce) {
            answer(accepts);
        }
    }
    std::vector<CommandDone> waiting_;
};

} // namespace vantor
