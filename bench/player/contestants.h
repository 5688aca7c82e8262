// The two that are compared, each as processes of its own: the player as it runs on the TV, ordered
// over the state bus, and a bare playbin3. What they show is known from their sink; whatever they
// do not do in time ends the benchmark with a std::runtime_error.
#pragma once

#include <memory>
#include <string>

#include "process_figures.h"
#include "shown_pictures.h"
#include "support/bus_watcher.h"
#include "support/program.h"

namespace bench {

class Contestant {
public:
    virtual ~Contestant() = default;

    /// Opens a film and plays it, instead of what plays now.
    virtual void push(const std::string& uri) = 0;
    virtual void waitUntilPlaying() = 0;
    virtual void waitUntilEnded() = 0;
    virtual void seek(unsigned seconds) = 0;
    virtual void stop() = 0;
    virtual Processes processes() const = 0;

    const ShownPictures& pictures() const { return pictures_; }

protected:
    /// `folder` holds what the contestant writes.
    explicit Contestant(const std::string& folder);

private:
    ShownPictures pictures_;
};

class BarePlaybin final : public Contestant {
public:
    explicit BarePlaybin(const std::string& folder);
    ~BarePlaybin() override;

    void push(const std::string& uri) override;
    void waitUntilPlaying() override { expect("playing"); }
    void waitUntilEnded() override { expect("ended"); }
    void seek(unsigned seconds) override;
    void stop() override;
    Processes processes() const override { return {program_.pid()}; }

private:
    void expect(const std::string& word);

    testing_support::Program program_;
};

/// Needs a bus, see PrivateBus.
class ThePlayer final : public Contestant {
public:
    explicit ThePlayer(const std::string& folder);
    ~ThePlayer() override;

    void push(const std::string& uri) override;
    void waitUntilPlaying() override { waitForState(kPlayerPlaying); }
    void waitUntilEnded() override { waitForState(kPlayerFinished); }
    void seek(unsigned seconds) override;
    void stop() override;
    /// The process on the bus and its media worker.
    Processes processes() const override;

    void zoom(const char* step);

private:
    void waitForState(int state);
    void command(const char* word, zeSBusState* argument);

    testing_support::BusWatcher watcher_;
    testing_support::Program program_;
};

} // namespace bench
