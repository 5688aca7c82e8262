// The senders of single commands and the wrappers around a state's registration and lock: one row
// each, the ones that nobody in the library calls included.
#include "ServiceCommands.h"

#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "DMR/support/link_fixture.h"
#include "ze/zeTools.h"

namespace {

using dmrtest::Calls;

struct Sender {
    const char* word;
    const char* argument; ///< as the journal writes it
    const char* type;
    std::function<int(zeSBusManager*, const char*)> send;
};

#define SENDER(aCall)                                                                              \
    [](zeSBusManager* manager, const char* instance) {                                             \
        return aCall;                                                                              \
    }

template <class Record> Record* newRecord(const zeSBusStateTemplate& layout) {
    return static_cast<Record*>(zeSBusState::New(&layout, nullptr));
}

ContentPlayerServiceCustomCommand* newCustomCommand() {
    auto* record =
        newRecord<ContentPlayerServiceCustomCommand>(ContentPlayerServiceCustomCommandTemplate);
    record->mCommand = zeStrdup("Word");
    record->mArgument = zeStrdup("");
    return record;
}

ContentPlayerServiceURIEx* newURIEx() {
    auto* record = newRecord<ContentPlayerServiceURIEx>(ContentPlayerServiceURIExTemplate);
    record->mMediaURI = zeStrdup("u");
    record->mMediaInfo = zeStrdup("i");
    record->mTrackURI = zeStrdup("v");
    record->mTrackInfo = zeStrdup("j");
    return record;
}

const char kPlayer[] = "ContentPlayerService";
const char kDaemon[] = "MediaRendererService";

const Sender kSenders[] = {
    {"seturi", ", \"x\"", kPlayer, SENDER(ContentPlayerService_seturi(manager, instance, "x"))},
    {"play", ", \"1/2\"", kPlayer, SENDER(ContentPlayerService_play(manager, instance, "1/2"))},
    {"timeseek", ", \"x\"", kPlayer, SENDER(ContentPlayerService_timeseek(manager, instance, "x"))},
    {"setidleuri", ", \"x\"", kPlayer,
     SENDER(ContentPlayerService_setidleuri(manager, instance, "x"))},
    {"setplaymode", ", \"x\"", kPlayer,
     SENDER(ContentPlayerService_setplaymode(manager, instance, "x"))},
    {"setspeed", ", \"x\"", kPlayer, SENDER(ContentPlayerService_setspeed(manager, instance, "x"))},
    {"stop", "", kPlayer, SENDER(ContentPlayerService_stop(manager, instance))},
    {"stopidleuri", "", kPlayer, SENDER(ContentPlayerService_stopidleuri(manager, instance))},
    {"playidleuri", "", kPlayer, SENDER(ContentPlayerService_playidleuri(manager, instance))},
    {"exit", "", kPlayer, SENDER(ContentPlayerService_exit(manager, instance))},
    {"pause", "", kPlayer, SENDER(ContentPlayerService_pause(manager, instance))},
    {"customcommand", ", ContentPlayerServiceCustomCommand{mCommand=\"Word\", mArgument=\"\"}",
     kPlayer, SENDER(ContentPlayerService_customcommand(manager, instance, newCustomCommand()))},
    {"seturiex",
     ", ContentPlayerServiceURIEx{mMediaURI=\"u\", mMediaInfo=\"i\", mTrackURI=\"v\", "
     "mTrackInfo=\"j\"}",
     kPlayer, SENDER(ContentPlayerService_seturiex(manager, instance, newURIEx()))},
    {"setidleloop", ", -1l", kPlayer,
     SENDER(ContentPlayerService_setidleloop(manager, instance, -1))},
    {"exit", "", kDaemon, SENDER(MediaRendererService_exit(manager, instance))},
    {"authorize_operation", ", 4294967295ul", kDaemon,
     SENDER(MediaRendererService_authorize_operation(manager, instance, 4294967295ul))},
    {"postpone_authorization", ", 7ul", kDaemon,
     SENDER(MediaRendererService_postpone_authorization(manager, instance, 7))},
    {"deny_operation", ", 0ul", kDaemon,
     SENDER(MediaRendererService_deny_operation(manager, instance, 0))},
    {"setfriendlyname", ", \"x\"", kDaemon,
     SENDER(MediaRendererService_setfriendlyname(manager, instance, "x"))},
};

static_assert(sizeof(kSenders) / sizeof(*kSenders) == 19);

class ACommand : public dmrtest::Link {};

TEST_F(ACommand, CarriesItsWordItsArgumentAndItsAddress) {
    bus().appear(kPlayer, "main");
    bus().appear(kPlayer);
    bus().appear(kDaemon);
    for (const Sender& sender : kSenders) {
        for (const char* instance : {"main", "", static_cast<const char*>(nullptr)}) {
            SCOPED_TRACE(testing::Message() << sender.word << " to " << fake::quoted(instance));
            const bool exists = sender.type == kPlayer || !instance || !*instance;
            sent();
            EXPECT_EQ(sender.send(&manager(), instance), exists ? 1 : 0);
            EXPECT_EQ(sent(), Calls({"Execute(\"" + std::string(sender.word) + "\"" +
                                     sender.argument + ") to " + sender.type + " " +
                                     fake::quoted(instance) + (exists ? " = true" : " = false")}));
        }
    }
}

TEST_F(ACommand, SaysZeroWhenItIsRefused) {
    bus().appear(kPlayer, "main");
    bus().appear(kDaemon);
    fake::failAlways(fake::Failable::kExecute);
    for (const Sender& sender : kSenders) {
        EXPECT_EQ(sender.send(&manager(), "main"), 0) << sender.word;
    }
}

TEST_F(ACommand, WithoutAManagerGoesNowhereAndSaysZero) {
    for (const Sender& sender : kSenders) {
        EXPECT_EQ(sender.send(nullptr, "main"), 0) << sender.word;
    }
    EXPECT_EQ(sent(), Calls());
}

TEST_F(ACommand, WithANullTextCarriesNoArgument) {
    bus().appear(kPlayer, "main");
    sent();
    EXPECT_EQ(ContentPlayerService_seturi(&manager(), "main", nullptr), 1);
    EXPECT_EQ(sent(), Calls({dmrtest::command("seturi")}));
}

// Registration and lock

void ignoreChange(zeSBusManager*, void*, const zeSBusStateSerializable*) {}

class AStateWrapper : public dmrtest::Link {
protected:
    Calls asked() {
        const Calls found =
            fake::Journal::instance().lines({fake::Kind::kRegistration, fake::Kind::kManager});
        fake::Journal::instance().clear();
        return found;
    }
};

#define WRAPPER_TEST(aType)                                                                        \
    TEST_F(AStateWrapper, RegistersAndUnregistersA##aType) {                                       \
        const std::string call = "RegisterToStateChange(" #aType ", \"main\") = ";                 \
        EXPECT_TRUE(aType##_RegisterToStateChange(&manager(), "main", &ignoreChange, nullptr));    \
        EXPECT_EQ(asked(), Calls({"manager1." + call + "true"}));                                  \
        EXPECT_TRUE(aType##_UnregisterToStateChange(&manager(), "main", &ignoreChange));           \
        EXPECT_EQ(asked(), Calls({"manager1.Un" + ("r" + call.substr(1)) + "true"}));              \
        EXPECT_FALSE(aType##_UnregisterToStateChange(&manager(), "main", &ignoreChange));          \
        fake::failNext(fake::Failable::kRegisterToStateChange);                                    \
        EXPECT_FALSE(aType##_RegisterToStateChange(&manager(), "main", &ignoreChange, nullptr));   \
    }                                                                                              \
    TEST_F(AStateWrapper, OfA##aType##WithoutAManagerOrARecordDoesNothing) {                       \
        bus().appear(statebus::Record(aType##Template), "main");                                   \
        const aType* record = aType##_LockState(&manager(), "main");                               \
        asked();                                                                                   \
        EXPECT_FALSE(aType##_RegisterToStateChange(nullptr, "main", &ignoreChange, nullptr));      \
        EXPECT_FALSE(aType##_UnregisterToStateChange(nullptr, "main", &ignoreChange));             \
        EXPECT_EQ(aType##_LockState(nullptr, "main"), nullptr);                                    \
        aType##_UnlockState(nullptr, record, 1);                                                   \
        aType##_UnlockState(&manager(), nullptr, 1);                                               \
        EXPECT_EQ(asked(), Calls());                                                               \
        aType##_UnlockState(&manager(), record, 0);                                                \
    }                                                                                              \
    TEST_F(AStateWrapper, LocksAndUnlocksTheLast##aType) {                                         \
        EXPECT_EQ(aType##_LockState(&manager(), "main"), nullptr);                                 \
        bus().appear(statebus::Record(aType##Template), "main");                                   \
        asked();                                                                                   \
        for (const int changed : {0, 1, 2, -1}) {                                                  \
            const aType* record = aType##_LockState(&manager(), "main");                           \
            ASSERT_NE(record, nullptr);                                                            \
            EXPECT_STREQ(record->GetFullName(), #aType "$main");                                   \
            aType##_UnlockState(&manager(), record, changed);                                      \
            EXPECT_EQ(asked(), Calls({"manager1.LockState(\"" #aType "\", \"main\")",              \
                                      std::string("manager1.UnlockState(record, ") +               \
                                          (changed ? "true)" : "false)")}));                       \
        }                                                                                          \
    }

WRAPPER_TEST(ContentPlayerService)
WRAPPER_TEST(SoundService)
WRAPPER_TEST(MediaRendererService)

} // namespace
