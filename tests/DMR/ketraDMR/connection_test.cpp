// The bus link connects and disconnects: in which order, and what is left when a step fails.
#include "ConsoleStatusMon.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "DMR/support/bare_fixture.h"
#include "DMR/support/death.h"
#include "DMR/support/link_fixture.h"

namespace {

using dmrtest::Calls;

void ignore(const void*, void*) {}
void ignoreToo(const void*, void*) {}

const Calls kConnecting = {
    "zeMutex_New() = mutex1",
    "zeMultiMBusEngine(false) = engine1",
    "zeSBusManager() = manager1",
    "manager1.RegisterRemoteSBusStateCallback() = true",
    "manager1.RegisterListeningSBusState(\"ContentPlayerService\", \"\") = true",
    "manager1.RegisterListeningSBusState(\"SoundService\", \"\") = true",
    "manager1.RegisterListeningSBusState(\"MediaRendererService\", \"\") = true",
    "manager1.AttachEngine(engine1)",
    "engine1.Open() = 0",
    "engine1.Start(3) = 0"};
const Calls kDisconnecting = {"manager1.Stop()",          "~manager1",
                              "engine1.Stop()",           "~engine1",
                              "zeMutex_Lock(mutex1) = 0", "zeMutex_Delete(mutex1)"};

class ALink : public dmrtest::Bare {
protected:
    void expectDisconnected(ConsoleStatusMon& link) {
        EXPECT_EQ(Access::manager(link), nullptr);
        EXPECT_EQ(Access::engine(link), nullptr);
        EXPECT_EQ(Access::mutex(link), nullptr);
        EXPECT_EQ(fake::livingMutexes(), 0);
    }
};

using ALinkDeathTest = ALink;

static_assert(std::has_virtual_destructor_v<ConsoleStatusMon>);

TEST_F(ALink, IsCreatedUnconnectedAndControlledByTheLocalPlayer) {
    ConsoleStatusMon link;
    EXPECT_EQ(Access::controlledByDMP(link), 1u);
    EXPECT_EQ(Access::lastPlayerState(link), 0);
    EXPECT_EQ(Access::playerCallback(link), nullptr);
    EXPECT_EQ(Access::soundCallback(link), nullptr);
    EXPECT_EQ(Access::rendererCallback(link), nullptr);
    EXPECT_TRUE(Access::players(link).empty());
    EXPECT_TRUE(Access::sounds(link).empty());
    EXPECT_TRUE(Access::renderers(link).empty());
    expectDisconnected(link);
    EXPECT_EQ(calls(), Calls());
}

TEST_F(ALink, KeepsItsMembersInTheirOrder) {
    ConsoleStatusMon link;
    const void* const members[] = {&Access::engine(link),          &Access::manager(link),
                                   &Access::players(link),         &Access::sounds(link),
                                   &Access::renderers(link),       &Access::mutex(link),
                                   &Access::controlledByDMP(link), &Access::lastPlayerState(link),
                                   &Access::playerCallback(link),  &Access::soundCallback(link),
                                   &Access::rendererCallback(link)};
    EXPECT_TRUE(std::is_sorted(std::begin(members), std::end(members)));
}

TEST_F(ALink, StoresItsThreeCallbacksAndTheirUser) {
    ConsoleStatusMon link;
    int user = 0;
    EXPECT_EQ(link.Regster_ServicesEventCallback(&ignore, &ignoreToo, &ignore, &user), 1);
    EXPECT_EQ(Access::playerCallback(link), &ignore);
    EXPECT_EQ(Access::soundCallback(link), &ignoreToo);
    EXPECT_EQ(Access::rendererCallback(link), &ignore);
    EXPECT_EQ(gServicesEventUser, &user);
    EXPECT_EQ(link.Regster_ServicesEventCallback(&ignore, &ignore, &ignore, nullptr), 1);
    EXPECT_EQ(gServicesEventUser, nullptr);
}

TEST_F(ALink, RefusesCallbacksWhenOneIsMissingAndKeepsTheOldOnes) {
    ConsoleStatusMon link;
    int user = 0;
    int other = 0;
    link.Regster_ServicesEventCallback(&ignore, &ignore, &ignore, &user);
    EXPECT_EQ(link.Regster_ServicesEventCallback(nullptr, &ignoreToo, &ignoreToo, &other), 0);
    EXPECT_EQ(link.Regster_ServicesEventCallback(&ignoreToo, nullptr, &ignoreToo, &other), 0);
    EXPECT_EQ(link.Regster_ServicesEventCallback(&ignoreToo, &ignoreToo, nullptr, &other), 0);
    EXPECT_EQ(Access::playerCallback(link), &ignore);
    EXPECT_EQ(Access::soundCallback(link), &ignore);
    EXPECT_EQ(Access::rendererCallback(link), &ignore);
    EXPECT_EQ(gServicesEventUser, &user);
}

TEST_F(ALink, ConnectsAndDisconnectsStepByStep) {
    ConsoleStatusMon link;
    EXPECT_TRUE(link.ServicesInitialize());
    EXPECT_EQ(calls(), kConnecting);
    link.ServicesUninitialize();
    EXPECT_EQ(calls(), kDisconnecting);
    expectDisconnected(link);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(fake::consoleOutput(), "");
}

TEST_F(ALink, DisconnectedTwiceDoesNothingTheSecondTime) {
    ConsoleStatusMon link;
    link.ServicesUninitialize();
    EXPECT_EQ(calls(), Calls());
    link.ServicesInitialize();
    link.ServicesUninitialize();
    calls();
    link.ServicesUninitialize();
    EXPECT_EQ(calls(), Calls());
}

TEST_F(ALink, WithoutAMutexCreatesNothingElse) {
    fake::failNext(fake::Failable::kMutexNew);
    ConsoleStatusMon link;
    EXPECT_FALSE(link.ServicesInitialize());
    EXPECT_EQ(calls(), Calls({"zeMutex_New() = null"}));
    expectDisconnected(link);
}

TEST_F(ALink, WhoseEngineDoesNotOpenReleasesEverything) {
    fake::failNext(fake::Failable::kEngineOpen);
    ConsoleStatusMon link;
    EXPECT_FALSE(link.ServicesInitialize());
    Calls expected(kConnecting.begin(), kConnecting.end() - 2);
    expected.push_back("engine1.Open() = 1");
    expected.insert(expected.end(), kDisconnecting.begin(), kDisconnecting.end());
    EXPECT_EQ(calls(), expected);
    expectDisconnected(link);
    EXPECT_TRUE(link.ServicesInitialize()) << "and may try again";
    link.ServicesUninitialize();
}

TEST_F(ALink, IgnoresWhatRegistrationsAndTheStartAnswer) {
    for (const auto refused : {fake::Failable::kRegisterRemoteCallback,
                               fake::Failable::kRegisterListening, fake::Failable::kEngineStart}) {
        fake::failAlways(refused);
        ConsoleStatusMon link;
        EXPECT_TRUE(link.ServicesInitialize());
        link.ServicesUninitialize();
        fake::clearFailures();
    }
}

TEST_F(ALink, KeepsAMutexThatItCannotLock) {
    ConsoleStatusMon link;
    link.ServicesInitialize();
    calls();
    fake::failNext(fake::Failable::kMutexLock);
    link.ServicesUninitialize();
    EXPECT_EQ(calls(), Calls({"manager1.Stop()", "~manager1", "engine1.Stop()", "~engine1",
                              "zeMutex_Lock(mutex1) = 1"}));
    EXPECT_NE(Access::mutex(link), nullptr);
    link.ServicesUninitialize();
    EXPECT_EQ(calls(), Calls({"zeMutex_Lock(mutex1) = 0", "zeMutex_Delete(mutex1)"}));
}

TEST_F(ALink, ForgetsItsInstancesButNotWhoControlsThePlayer) {
    ConsoleStatusMon link;
    link.Regster_ServicesEventCallback(&ignore, &ignore, &ignore, nullptr);
    link.ServicesInitialize();
    statebus::Record stopped(ContentPlayerServiceTemplate);
    stopped.setNumber("mState", 1);
    fake::Bus::instance().appear(stopped, "main");
    fake::Bus::instance().appear(statebus::Record(SoundServiceTemplate), "main");
    fake::Bus::instance().appear(statebus::Record(MediaRendererServiceTemplate));
    ASSERT_EQ(Access::players(link).size(), 1u);
    ASSERT_EQ(Access::sounds(link).size(), 1u);
    ASSERT_EQ(Access::renderers(link).size(), 1u);
    link.ServicesUninitialize();
    EXPECT_TRUE(Access::players(link).empty());
    EXPECT_TRUE(Access::sounds(link).empty());
    EXPECT_TRUE(Access::renderers(link).empty());
    EXPECT_EQ(Access::controlledByDMP(link), 0u);
    EXPECT_EQ(Access::lastPlayerState(link), 1);
    EXPECT_TRUE(link.ServicesInitialize());
    EXPECT_EQ(Access::controlledByDMP(link), 0u);
    EXPECT_EQ(Access::players(link).size(), 1u) << "learned anew";
    link.ServicesUninitialize();
}

// The lines of the two assertions are part of their texts.

TEST_F(ALinkDeathTest, StopsTheProcessWhenThereIsNoMemoryForTheEngine) {
    ConsoleStatusMon link;
    EXPECT_ABORTS(
        {
            const fake::AllocationFailure failure(1);
            link.ServicesInitialize();
        },
        "ASSERT FAIL: DMR/src/ketraDMR/* bool ConsoleStatusMon::ServicesInitialize() 212\n");
}

TEST_F(ALinkDeathTest, StopsTheProcessWhenThereIsNoMemoryForTheManager) {
    ConsoleStatusMon link;
    EXPECT_ABORTS(
        {
            const fake::AllocationFailure failure(2);
            link.ServicesInitialize();
        },
        "ASSERT FAIL: DMR/src/ketraDMR/* bool ConsoleStatusMon::ServicesInitialize() 217\n");
}

} // namespace
