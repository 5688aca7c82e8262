// A bus link that runs on the platform in memory, with upward callbacks that take down what they
// were handed.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "DMR/support/bare_fixture.h"

namespace dmrtest {

/// One call of an upward callback.
struct UpwardCall {
    std::string which; ///< "player", "sound", "renderer"
    const void* record;
    void* user;
    int lockDepth; ///< how often the link's mutex was locked meanwhile
};

class Link : public Bare {
protected:
    void SetUp() override {
        Bare::SetUp();
        upward().clear();
        ASSERT_EQ(link().Regster_ServicesEventCallback(&player, &sound, &renderer, &user_), 1);
        ASSERT_TRUE(link().ServicesInitialize());
        fake::Journal::instance().clear();
    }
    void TearDown() override {
        fake::clearFailures();
        link().ServicesUninitialize();
        Bare::TearDown();
    }

    ConsoleStatusMon& link() { return link_; }
    zeSBusManager& manager() { return *Access::manager(link_); }
    fake::Bus& bus() { return fake::Bus::instance(); }
    /// What the operator's console showed since the last call.
    std::string console() {
        const std::string shown = fake::consoleOutput();
        fake::clearConsole();
        return shown;
    }
    /// Commands and writes since the last call.
    Calls sent() {
        const Calls found =
            fake::Journal::instance().lines({fake::Kind::kCommand, fake::Kind::kWrite});
        fake::Journal::instance().clear();
        return found;
    }
    /// Calls of the upward callbacks since the last call.
    std::vector<UpwardCall> upwardCalls() {
        std::vector<UpwardCall> found;
        found.swap(upward());
        return found;
    }
    /// Nothing is kept from the renderer service any more.
    void letPlayersThrough() { Access::controlledByDMP(link_) = 0; }

    static statebus::Record playerRecord(std::int32_t state) {
        statebus::Record record(ContentPlayerServiceTemplate);
        record.setNumber("mState", state);
        return record;
    }
    static statebus::Record rendererRecord() {
        return statebus::Record(MediaRendererServiceTemplate);
    }
    /// A renderer's record with one request an id, all in this state.
    static statebus::Record requests(const std::vector<std::uint32_t>& ids, int state) {
        statebus::Record record(MediaRendererServiceTemplate);
        record.resize("mAuthorizationRequests", ids.size());
        for (std::size_t i = 0; i < ids.size(); ++i) {
            const std::string path = "mAuthorizationRequests[" + std::to_string(i) + "].";
            record.setNumber(path + "mRequestId", ids[i]);
            record.setNumber(path + "mState", state);
            record.setText(path + "mControllerId", "phone");
            record.setText(path + "mMediaMimeType", "video/mp4");
            record.setText(path + "mMediaTitle", "A Film");
        }
        return record;
    }
    void* user() { return &user_; }

private:
    static std::vector<UpwardCall>& upward() {
        static std::vector<UpwardCall> calls;
        return calls;
    }
    static void take(const char* which, const void* record, void* user) {
        fake::Journal::instance().note(std::string("upward ") + which);
        upward().push_back({which, record, user, fake::lockDepth()});
    }
    static void player(const void* record, void* user) { take("player", record, user); }
    static void sound(const void* record, void* user) { take("sound", record, user); }
    static void renderer(const void* record, void* user) { take("renderer", record, user); }

    ConsoleStatusMon link_;
    int user_ = 0;
};

} // namespace dmrtest
