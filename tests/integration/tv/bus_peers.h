// Others on the television's state bus, for its tests. Made and used on the test's thread.
#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include <gtest/gtest.h>

#include "ServiceRecords.h"
#include "statebus/publisher.h"
#include "ze/zeSBus.h"

namespace television_test {

/// Speaks to the stand-ins on the bus.
class Director {
public:
    Director() {
        manager_.AttachEngine(&engine_);
        EXPECT_EQ(engine_.Open(), 0);
        EXPECT_EQ(engine_.Start(1), 0);
    }
    ~Director() {
        manager_.Stop();
        engine_.Stop();
    }
    bool player(const char* word, const char* text) {
        return zeSBusCommand(word, text).Execute(&manager_, "ContentPlayerService", "main");
    }
    bool daemon(const char* word, const char* text) {
        return zeSBusCommand(word, text).Execute(&manager_, "MediaRendererService", "");
    }

private:
    zeMultiMBusEngine engine_{false};
    zeSBusManager manager_;
};

/// A player that is not the TV's, on the same bus.
class SecondPlayer {
public:
    SecondPlayer() {
        EXPECT_EQ(engine_.Open(), 0);
        EXPECT_EQ(engine_.Start(1), 0);
        statebus::PublicationSpec spec;
        spec.layout = &ContentPlayerServiceTemplate;
        spec.instance = "second";
        statebus::Record first(ContentPlayerServiceTemplate);
        first.setNumber("mState", kPlayerPlaying);
        spec.initial = first;
        spec.will = first;
        spec.argumentLayouts = {&ContentPlayerServiceCustomCommandTemplate};
        spec.onCommand = [this](const statebus::Command&) {
            ++commands_;
            return true;
        };
        publication_ = statebus::publish(engine_, std::move(spec), nullptr);
        EXPECT_NE(publication_, nullptr);
    }
    ~SecondPlayer() {
        publication_.reset();
        engine_.Stop();
    }
    int commands() const { return commands_; }
    /// Announces what it does, as if it did it just now.
    void repeat() const {
        publication_->change([](statebus::Record&) {});
    }

private:
    std::atomic<int> commands_{0};
    zeMultiMBusEngine engine_{false};
    std::unique_ptr<statebus::Publication> publication_;
};

} // namespace television_test
