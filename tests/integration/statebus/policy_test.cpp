// The policy for a television with several users, on a real bus daemon.
//
// A test that is one user only gives itself some of the three parts and finds out what they allow
// together. Root plays all of them at once, with users that every system has.
#include <pwd.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "ServiceRecords.h"
#include "statebus/publisher.h"
#include "support/private_bus.h"
#include "support/raw_peer.h"

namespace {

using statebus::Record;
using testing_support::PrivateBus;
using testing_support::RawPeer;

constexpr char kDenied[] = "org.freedesktop.DBus.Error.AccessDenied";
constexpr char kPlayer[] = "tv.sbus.ContentPlayerService.main";
constexpr char kPlayerPath[] = "/tv/sbus/ContentPlayerService/main";
constexpr char kSound[] = "tv.sbus.SoundService.main";
constexpr char kSoundPath[] = "/tv/sbus/SoundService/main";
constexpr char kRenderer[] = "tv.sbus.MediaRendererService";
constexpr char kRendererPath[] = "/tv/sbus/MediaRendererService";

/// Who plays which part; a part that nobody plays is given to a user that takes no part.
struct Cast {
    std::string player = "nobody";
    std::string renderer = "nobody";
    std::string tv = "nobody";
};

std::string ownUser() {
    const passwd* user = getpwuid(geteuid());
    return user != nullptr ? user->pw_name : std::to_string(geteuid());
}

/// The policy with the users of this cast; the file goes with the object.
class Policy {
public:
    explicit Policy(const Cast& cast) {
        char pattern[] = "/tmp/ketra-policy-XXXXXX";
        close(mkstemp(pattern));
        path_ = pattern;
        std::ostringstream content;
        content << std::ifstream(POLICY).rdbuf();
        std::string text = content.str();
        replace(text, "user=\"ketra-player\"", "user=\"" + cast.player + '"');
        replace(text, "user=\"ketra-renderer\"", "user=\"" + cast.renderer + '"');
        replace(text, "user=\"ketra-tv\"", "user=\"" + cast.tv + '"');
        std::ofstream(path_) << text;
    }
    ~Policy() { unlink(path_.c_str()); }
    Policy(const Policy&) = delete;
    Policy& operator=(const Policy&) = delete;
    const std::string& path() const { return path_; }

private:
    static void replace(std::string& text, const std::string& what, const std::string& with) {
        const std::size_t at = text.find(what);
        ASSERT_NE(at, std::string::npos) << what;
        text.replace(at, what.size(), with);
    }
    std::string path_;
};

/// Whether this peer gets the name.
bool mayOwn(RawPeer& peer, const char* name) {
    const bool owns = sd_bus_request_name(peer.bus(), name, 0) >= 0;
    if (owns)
        sd_bus_release_name(peer.bus(), name);
    return owns;
}

/// "" when the publisher answered; the error of what it did not get to hear.
std::string get(RawPeer& peer, const char* name, const char* path) {
    return peer.call(name, path, "Get", [](sd_bus_message*) {});
}
std::string command(RawPeer& peer, const char* name, const char* path) {
    return peer.call(name, path, "Command",
                     [](sd_bus_message* call) { sd_bus_message_append(call, "sav", "play", 0); });
}
std::string write(RawPeer& peer, const char* name, const char* path) {
    return peer.call(name, path, "SetValue", [](sd_bus_message* call) {
        sd_bus_message_append(call, "ss", "mVisible", "1");
    });
}

/// A process's side of the bus with a few states on it; takes every command.
class Publisher {
public:
    Publisher() {
        EXPECT_EQ(engine_.Open(), 0);
        EXPECT_EQ(engine_.Start(1), 0);
    }
    ~Publisher() {
        publications_.clear();
        engine_.Stop();
    }
    Publisher(const Publisher&) = delete;
    Publisher& operator=(const Publisher&) = delete;

    bool publish(const zeSBusStateTemplate& layout, const char* instance) {
        statebus::PublicationSpec spec;
        spec.layout = &layout;
        spec.instance = instance;
        spec.initial.emplace(layout);
        spec.onCommand = [](const statebus::Command&) {
            return true;
        };
        spec.onWrite = [](const std::string&, const std::string&) {
            return true;
        };
        publications_.push_back(statebus::publish(engine_, std::move(spec), &error_));
        return publications_.back() != nullptr;
    }
    /// Why the last state was not published.
    const std::string& error() const { return error_; }
    bool publishPlayer() {
        return publish(ContentPlayerServiceTemplate, "main") &&
               publish(SoundServiceTemplate, "main");
    }
    bool publishRenderer() { return publish(MediaRendererServiceTemplate, ""); }

private:
    zeMultiMBusEngine engine_{false};
    std::vector<std::unique_ptr<statebus::Publication>> publications_;
    std::string error_;
};

/// A program that tries again and again complains once: what it is told is the same each time.
TEST(APolicyForSeveralUsers, GivesItsReasonInTheSameWordsOnEveryConnection) {
    const Policy policy({"nobody", "nobody", "nobody"});
    const PrivateBus bus(policy.path());
    Publisher first;
    Publisher second;
    EXPECT_FALSE(first.publishPlayer());
    EXPECT_FALSE(second.publishPlayer());
    EXPECT_NE(first.error().find("not allowed"), std::string::npos) << first.error();
    EXPECT_NE(first.error().find(kPlayer), std::string::npos) << first.error();
    EXPECT_EQ(first.error(), second.error());
}

TEST(APolicyForSeveralUsers, LetsThePlayerPublishItsTwoStatesAndCommandNobody) {
    const Policy policy({ownUser(), "nobody", "nobody"});
    const PrivateBus bus(policy.path());
    Publisher player;
    ASSERT_TRUE(player.publishPlayer());
    RawPeer again(bus.address());
    EXPECT_TRUE(mayOwn(again, "tv.sbus.ContentPlayerService.second"));
    EXPECT_FALSE(mayOwn(again, kRenderer));
    EXPECT_FALSE(mayOwn(again, "tv.sbus.ContentPlayerServiceImposter"));
    EXPECT_FALSE(mayOwn(again, "org.example.Other"));
    EXPECT_EQ(get(again, kPlayer, kPlayerPath), "");
    EXPECT_EQ(get(again, kSound, kSoundPath), "");
    EXPECT_EQ(command(again, kPlayer, kPlayerPath), kDenied);
    EXPECT_EQ(write(again, kSound, kSoundPath), kDenied);
}

TEST(APolicyForSeveralUsers, LetsTheRendererPublishItselfAndCommandThePlayer) {
    const Policy policy({ownUser(), ownUser(), "nobody"});
    const PrivateBus bus(policy.path());
    Publisher player;
    Publisher renderer;
    ASSERT_TRUE(player.publishPlayer());
    ASSERT_TRUE(renderer.publishRenderer());
    RawPeer controller(bus.address());
    EXPECT_EQ(command(controller, kPlayer, kPlayerPath), "");
    EXPECT_EQ(write(controller, kPlayer, kPlayerPath), "");
    EXPECT_EQ(write(controller, kSound, kSoundPath), "");
    EXPECT_EQ(get(controller, kRenderer, kRendererPath), "");
    EXPECT_EQ(command(controller, kRenderer, kRendererPath), kDenied);
    EXPECT_EQ(write(controller, kRenderer, kRendererPath), kDenied);
}

TEST(APolicyForSeveralUsers, KeepsTheRendererFromPublishingThePlayer) {
    const Policy policy({"nobody", ownUser(), "nobody"});
    const PrivateBus bus(policy.path());
    RawPeer renderer(bus.address());
    EXPECT_TRUE(mayOwn(renderer, kRenderer));
    EXPECT_FALSE(mayOwn(renderer, kPlayer));
    EXPECT_FALSE(mayOwn(renderer, kSound));
}

TEST(APolicyForSeveralUsers, LetsTheTelevisionCommandEverybodyAndPublishNothing) {
    {
        const Policy policy({ownUser(), ownUser(), ownUser()});
        const PrivateBus bus(policy.path());
        Publisher publisher;
        ASSERT_TRUE(publisher.publishPlayer());
        ASSERT_TRUE(publisher.publishRenderer());
        RawPeer tv(bus.address());
        EXPECT_EQ(command(tv, kPlayer, kPlayerPath), "");
        EXPECT_EQ(command(tv, kRenderer, kRendererPath), "");
        EXPECT_EQ(write(tv, kRenderer, kRendererPath), "");
    }
    const Policy policy({"nobody", "nobody", ownUser()});
    const PrivateBus bus(policy.path());
    RawPeer tv(bus.address());
    for (const char* name : {kPlayer, kSound, kRenderer})
        EXPECT_FALSE(mayOwn(tv, name)) << name;
}

TEST(APolicyForSeveralUsers, LetsAStrangerPublishNothing) {
    const Policy policy({"nobody", "nobody", "nobody"});
    const PrivateBus bus(policy.path());
    RawPeer stranger(bus.address());
    for (const char* name : {kPlayer, kSound, kRenderer, "org.example.Other"})
        EXPECT_FALSE(mayOwn(stranger, name)) << name;
}

/// Connections made while it lives are this user's. Needs root.
class As {
public:
    explicit As(const char* user) {
        const passwd* found = getpwnam(user);
        EXPECT_NE(found, nullptr) << user;
        EXPECT_EQ(seteuid(found != nullptr ? found->pw_uid : 65534), 0);
    }
    ~As() { EXPECT_EQ(seteuid(0), 0); }
    As(const As&) = delete;
    As& operator=(const As&) = delete;
};

/// The same once more with users that differ, as on a television: three parts and a stranger.
TEST(APolicyForSeveralUsers, TellsFourUsersApart) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can be several users; the cases above test each rule as one";
    const Policy policy({"daemon", "bin", "games"});
    const PrivateBus bus(policy.path());
    const auto peerAs = [&](const char* user) {
        const As as(user);
        return std::make_unique<RawPeer>(bus.address());
    };
    const auto publisherAs = [](const char* user) {
        const As as(user);
        return std::make_unique<Publisher>();
    };
    const auto playing = publisherAs("daemon");
    ASSERT_TRUE(playing->publishPlayer());
    const auto rendering = publisherAs("bin");
    ASSERT_TRUE(rendering->publishRenderer());

    const auto player = peerAs("daemon");
    const auto renderer = peerAs("bin");
    const auto tv = peerAs("games");
    const auto stranger = peerAs("nobody");
    for (RawPeer* peer : {player.get(), renderer.get(), tv.get(), stranger.get()}) {
        EXPECT_EQ(get(*peer, kPlayer, kPlayerPath), "");
        EXPECT_EQ(get(*peer, kRenderer, kRendererPath), "");
    }
    EXPECT_EQ(command(*tv, kPlayer, kPlayerPath), "");
    EXPECT_EQ(write(*tv, kSound, kSoundPath), "");
    EXPECT_EQ(command(*tv, kRenderer, kRendererPath), "");
    EXPECT_EQ(command(*renderer, kPlayer, kPlayerPath), "");
    EXPECT_EQ(write(*renderer, kSound, kSoundPath), "");
    EXPECT_EQ(command(*player, kRenderer, kRendererPath), kDenied);
    EXPECT_EQ(command(*stranger, kPlayer, kPlayerPath), kDenied);
    EXPECT_EQ(write(*stranger, kRenderer, kRendererPath), kDenied);
    EXPECT_FALSE(mayOwn(*renderer, "tv.sbus.SoundService.second"));
    EXPECT_FALSE(mayOwn(*tv, "tv.sbus.SoundService.second"));
    EXPECT_FALSE(mayOwn(*stranger, "tv.sbus.SoundService.second"));
    EXPECT_TRUE(mayOwn(*player, "tv.sbus.SoundService.second"));
}

} // namespace
