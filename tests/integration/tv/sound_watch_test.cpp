// What the television sees of the player's sound, over a real bus.
#include <chrono>
#include <thread>

#include <gtest/gtest.h>

#include "ServiceRecords.h"
#include "statebus/publisher.h"
#include "support/private_bus.h"
#include "tv/companions.h"

namespace {

using tv::CompanionWatch;

class TheTvsWatch : public testing::Test {
protected:
    TheTvsWatch() {
        EXPECT_EQ(engine_.Open(), 0);
        EXPECT_EQ(engine_.Start(1), 0);
    }
    ~TheTvsWatch() override {
        sound_.reset();
        engine_.Stop();
    }

    static void set(statebus::Record& record, unsigned volume, bool muted) {
        record.setNumber("mMaster.mVolume", volume);
        record.setNumber("mMaster.mfMute", muted ? 1 : 0);
    }
    std::unique_ptr<statebus::Publication> publish(const char* instance, unsigned volume) {
        statebus::PublicationSpec spec;
        spec.layout = &SoundServiceTemplate;
        spec.instance = instance;
        spec.initial.emplace(SoundServiceTemplate);
        set(*spec.initial, volume, false);
        return statebus::publish(engine_, std::move(spec), nullptr);
    }
    /// Whether the TV comes to know this.
    template <class Condition> bool becomes(const Condition& condition) {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!condition(watch_.now()) && std::chrono::steady_clock::now() < limit)
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        return condition(watch_.now());
    }

    testing_support::PrivateBus bus_;
    zeMultiMBusEngine engine_{false};
    std::unique_ptr<statebus::Publication> sound_;
    CompanionWatch watch_{[] {
    }};
};

TEST_F(TheTvsWatch, KnowsHowLoudItsPlayerIs) {
    ASSERT_TRUE(watch_.open());
    EXPECT_FALSE(watch_.now().volume);
    sound_ = publish("main", 50);
    ASSERT_NE(sound_, nullptr);
    EXPECT_TRUE(becomes([](const auto& now) { return now.volume == 50 && !now.muted; }));
    const auto second = publish("second", 90);
    ASSERT_NE(second, nullptr);
    sound_->change([](statebus::Record& record) { set(record, 55, true); });
    EXPECT_TRUE(becomes([](const auto& now) { return now.volume == 55 && now.muted; }));
    sound_.reset();
    EXPECT_TRUE(becomes([](const auto& now) { return !now.volume && !now.muted; }));
}

} // namespace
