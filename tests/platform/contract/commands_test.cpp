#include <atomic>
#include <climits>
#include <thread>

#include <gtest/gtest.h>

#include "platform/contract/harness.h"

namespace {

using namespace contract;
using statebus::Command;

/// A subscriber that sends, and a publisher "main" that writes down what it is asked.
class Commands : public ContractTest {
protected:
    Commands() : main(publishAnswering("main", answers)) {
        EXPECT_TRUE(subscriber.waitFor("ContractState$main is 1"));
    }

    std::unique_ptr<statebus::Publication> publishAnswering(const std::string& instance,
                                                            Answers& from) {
        auto spec = Publisher::specOf(instance, 1);
        spec.argumentLayouts = {&ContractArgumentTemplate};
        spec.onCommand = from.commands();
        spec.onWrite = from.writes();
        return publisher.publish(std::move(spec));
    }

    bool send(zeSBusCommand&& command, const char* instance = "main") {
        return command.Execute(&subscriber.manager, kContractState, instance);
    }

    Answers answers;
    Subscriber subscriber;
    std::unique_ptr<statebus::Publication> main;
};

TEST_F(Commands, ArriveWithoutAnArgument) {
    EXPECT_TRUE(send(zeSBusCommand("stop")));
    ASSERT_EQ(answers.received().size(), 1U);
    EXPECT_EQ(answers.received()[0].word, "stop");
    EXPECT_TRUE(std::holds_alternative<std::monostate>(answers.received()[0].argument));
}

TEST_F(Commands, ArriveWithAText) {
    EXPECT_TRUE(send(zeSBusCommand("play", "1/2")));
    EXPECT_TRUE(send(zeSBusCommand("play", "")));
    EXPECT_TRUE(send(zeSBusCommand("play", "caf\xe9 \xc3\xa9")));
    ASSERT_EQ(answers.received().size(), 3U);
    EXPECT_EQ(std::get<std::string>(answers.received()[0].argument), "1/2");
    EXPECT_EQ(std::get<std::string>(answers.received()[1].argument), "");
    EXPECT_EQ(std::get<std::string>(answers.received()[2].argument), "caf\xe9 \xc3\xa9");
}

TEST_F(Commands, WithANullTextHaveNoArgument) {
    EXPECT_TRUE(send(zeSBusCommand("play", static_cast<const char*>(nullptr))));
    ASSERT_EQ(answers.received().size(), 1U);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(answers.received()[0].argument));
}

TEST_F(Commands, ArriveWithANumberOfEitherSign) {
    EXPECT_TRUE(send(zeSBusCommand("setidleloop", LONG_MIN)));
    EXPECT_TRUE(send(zeSBusCommand("setidleloop", 0L)));
    EXPECT_TRUE(send(zeSBusCommand("deny_operation", ULONG_MAX)));
    ASSERT_EQ(answers.received().size(), 3U);
    EXPECT_EQ(std::get<long long>(answers.received()[0].argument), LONG_MIN);
    EXPECT_EQ(std::get<long long>(answers.received()[1].argument), 0);
    EXPECT_EQ(std::get<unsigned long long>(answers.received()[2].argument), ULONG_MAX);
}

TEST_F(Commands, ArriveWithARecord) {
    statebus::Record record(ContractArgumentTemplate);
    record.setText("mWord", "Zoom");
    record.resize("mLeaves", 2);
    record.setText("mLeaves[1].mText", "\xff");
    statebus::Record sent = record;
    EXPECT_TRUE(send(zeSBusCommand("customcommand", sent.release())));
    ASSERT_EQ(answers.received().size(), 1U);
    const Command command = answers.received()[0];
    ASSERT_TRUE(std::holds_alternative<statebus::Record>(command.argument));
    EXPECT_EQ(std::get<statebus::Record>(command.argument), record);
}

TEST_F(Commands, WithARecordThatTheOtherSideDoesNotKnowAreRefused) {
    statebus::Record record(ContractUnknownArgumentTemplate);
    EXPECT_FALSE(send(zeSBusCommand("customcommand", record.release())));
    EXPECT_TRUE(answers.received().empty());
}

TEST_F(Commands, KeepTheirOwnCopyOfTheirTexts) {
    char word[] = "play";
    char text[] = "1/2";
    zeSBusCommand command(word, text);
    word[0] = text[0] = 'X';
    EXPECT_TRUE(send(std::move(command)));
    ASSERT_EQ(answers.received().size(), 1U);
    EXPECT_EQ(answers.received()[0].word, "play");
    EXPECT_EQ(std::get<std::string>(answers.received()[0].argument), "1/2");
}

TEST_F(Commands, CanBeSentAgain) {
    statebus::Record record(ContractArgumentTemplate);
    record.setText("mWord", "again");
    zeSBusCommand command("customcommand", record.release());
    EXPECT_TRUE(command.Execute(&subscriber.manager, kContractState, "main"));
    EXPECT_TRUE(command.Execute(&subscriber.manager, kContractState, "main"));
    EXPECT_EQ(answers.received().size(), 2U);
}

TEST_F(Commands, AreAnsweredAsTheOtherSideDecides) {
    Answers no(false);
    const auto refusing = publishAnswering("refusing", no);
    EXPECT_FALSE(send(zeSBusCommand("play"), "refusing"));
    EXPECT_EQ(no.received().size(), 1U);
    EXPECT_FALSE(subscriber.manager.SetValue(kContractState, "refusing", "mInt32", "5"));
    EXPECT_EQ(no.written(), Lines{"mInt32=5"});
}

TEST_F(Commands, ToSomebodyWhoTakesNoneAreRefused) {
    const auto silent = publisher.publish("silent", 1);
    EXPECT_FALSE(send(zeSBusCommand("play"), "silent"));
    EXPECT_FALSE(subscriber.manager.SetValue(kContractState, "silent", "mInt32", "5"));
}

TEST_F(Commands, ToNobodyAnswerFalse) {
    EXPECT_FALSE(send(zeSBusCommand("play"), "nobody"));
    EXPECT_FALSE(send(zeSBusCommand("play"), ""));
    EXPECT_FALSE(zeSBusCommand("play").Execute(&subscriber.manager, "NoSuchType", nullptr));
    EXPECT_FALSE(subscriber.manager.SetValue(kContractState, "nobody", "mInt32", "5"));
    EXPECT_FALSE(subscriber.manager.SetValue("NoSuchType", nullptr, "mInt32", "5"));
    EXPECT_TRUE(answers.received().empty());
}

TEST_F(Commands, ToSomebodyWhoSaidGoodbyeAnswerFalse) {
    main.reset();
    EXPECT_TRUE(subscriber.waitFor("removed ContractState$main"));
    EXPECT_FALSE(send(zeSBusCommand("play")));
}

TEST_F(Commands, WithoutAnInstanceReachTheOnlyOne) {
    EXPECT_TRUE(send(zeSBusCommand("play"), nullptr));
    EXPECT_TRUE(subscriber.manager.SetValue(kContractState, nullptr, "mInt32", "5"));
    EXPECT_EQ(answers.received().size(), 1U);
    EXPECT_EQ(answers.written(), Lines{"mInt32=5"});
}

TEST_F(Commands, WithoutAnInstanceReachTheOneWithoutAName) {
    Answers unnamed;
    const auto other = publishAnswering("", unnamed);
    ASSERT_TRUE(subscriber.waitFor("ContractState is 1"));
    EXPECT_TRUE(send(zeSBusCommand("play"), nullptr));
    EXPECT_TRUE(send(zeSBusCommand("stop"), ""));
    EXPECT_TRUE(subscriber.manager.SetValue(kContractState, nullptr, "mInt32", "5"));
    EXPECT_EQ(unnamed.received().size(), 2U);
    EXPECT_EQ(unnamed.written().size(), 1U);
    EXPECT_TRUE(answers.received().empty());
}

TEST_F(Commands, WithoutAnInstanceReachNobodyWhenSeveralHaveNames) {
    Answers second;
    const auto other = publishAnswering("other", second);
    ASSERT_TRUE(subscriber.waitFor("ContractState$other is 1"));
    EXPECT_FALSE(send(zeSBusCommand("play"), nullptr));
    EXPECT_FALSE(subscriber.manager.SetValue(kContractState, nullptr, "mInt32", "5"));
    EXPECT_TRUE(answers.received().empty());
    EXPECT_TRUE(second.received().empty());
}

TEST_F(Commands, OrWritesCarryPathAndTextAsTheyAre) {
    EXPECT_TRUE(subscriber.manager.SetValue(kContractState, "main", "mLeaf.mNumber", "-5"));
    EXPECT_TRUE(subscriber.manager.SetValue(kContractState, "main", "no.such.field", ""));
    EXPECT_EQ(answers.written(), (Lines{"mLeaf.mNumber=-5", "no.such.field="}));
}

TEST_F(Commands, MayBeSentFromWithinAHandler) {
    std::atomic<int> accepted{0};
    const Subscriber sender({kContractState}, [&](zeSBusManager& manager, const Sighting& told) {
        if (told.text.rfind("removed", 0) == 0)
            return;
        if (zeSBusCommand("from handler").Execute(&manager, kContractState, "main"))
            ++accepted;
        if (manager.SetValue(kContractState, "main", "mInt32", "1"))
            ++accepted;
    });
    // From the notice and from the first change, while this thread sends too.
    for (int i = 0; i < 50; ++i)
        EXPECT_TRUE(send(zeSBusCommand("from test")));
    EXPECT_TRUE(waitUntil([&] { return accepted == 4; }));
    EXPECT_EQ(answers.received().size(), 52U);
}

TEST_F(Commands, MayChangeThePublicationThatAnswers) {
    std::unique_ptr<statebus::Publication> counter;
    auto spec = Publisher::specOf("counter", 0);
    spec.onCommand = [&](const Command&) {
        counter->change([](statebus::Record& record) {
            record.setNumber("mInt32", *record.number("mInt32") + 1);
        });
        return true;
    };
    counter = publisher.publish(std::move(spec));
    ASSERT_TRUE(subscriber.waitFor("ContractState$counter is 0"));
    EXPECT_TRUE(send(zeSBusCommand("count"), "counter"));
    EXPECT_TRUE(send(zeSBusCommand("count"), "counter"));
    EXPECT_TRUE(subscriber.waitFor("ContractState$counter is 2"));
}

TEST_F(Commands, MayMakeTheOtherSideSendCommandsItself) {
    Publisher another;
    zeSBusManager manager;
    zeMultiMBusEngine engine(false);
    manager.AttachEngine(&engine);
    ASSERT_EQ(engine.Open(), 0);
    ASSERT_EQ(engine.Start(1), 0);
    auto spec = Publisher::specOf("relay", 1);
    spec.onCommand = [&](const Command& command) {
        return zeSBusCommand(command.word.c_str()).Execute(&manager, kContractState, "main");
    };
    const auto relay = another.publish(std::move(spec));
    ASSERT_TRUE(subscriber.waitFor("ContractState$relay is 1"));
    EXPECT_TRUE(send(zeSBusCommand("handed on"), "relay"));
    ASSERT_EQ(answers.received().size(), 1U);
    EXPECT_EQ(answers.received()[0].word, "handed on");
    manager.Stop();
    engine.Stop();
}

TEST_F(Commands, AreAnsweredOneAtATimeWhoeverSendsThem) {
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
    auto spec = Publisher::specOf("busy", 1);
    spec.onCommand = [&](const Command&) {
        if (++inside != 1)
            overlapped = true;
        std::this_thread::yield();
        --inside;
        return true;
    };
    const auto busy = publisher.publish(std::move(spec));
    ASSERT_TRUE(subscriber.waitFor("ContractState$busy is 1"));
    std::atomic<int> accepted{0};
    std::vector<std::thread> senders;
    for (int i = 0; i < 4; ++i)
        senders.emplace_back([&] {
            for (int k = 0; k < 25; ++k)
                if (send(zeSBusCommand("work"), "busy"))
                    ++accepted;
        });
    for (std::thread& sender : senders)
        sender.join();
    EXPECT_EQ(accepted, 100);
    EXPECT_FALSE(overlapped);
}

TEST_F(Commands, ToSomebodyWhoHangsAnswerFalseAfterFiveSeconds) {
    const auto remote = startRemotePublisher("hung");
    ASSERT_TRUE(subscriber.waitFor("ContractState$hung is 1"));
    EXPECT_TRUE(send(zeSBusCommand("play"), "hung"));
    remote->freeze();
    const auto before = std::chrono::steady_clock::now();
    EXPECT_FALSE(send(zeSBusCommand("play"), "hung"));
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(10));
}

TEST_F(Commands, ToSomebodyWhoDiedAnswerFalse) {
    const auto remote = startRemotePublisher("dead");
    ASSERT_TRUE(subscriber.waitFor("ContractState$dead is 1"));
    EXPECT_TRUE(subscriber.manager.SetValue(kContractState, "dead", "mInt32", "1"));
    remote->kill();
    EXPECT_FALSE(send(zeSBusCommand("play"), "dead"));
}

TEST_F(Commands, OfAManagerThatIsNotConnectedAnswerFalse) {
    zeSBusManager idle;
    EXPECT_FALSE(zeSBusCommand("play").Execute(&idle, kContractState, "main"));
    EXPECT_FALSE(idle.SetValue(kContractState, "main", "mInt32", "5"));
    subscriber.stop();
    EXPECT_FALSE(send(zeSBusCommand("play")));
    EXPECT_FALSE(subscriber.manager.SetValue(kContractState, "main", "mInt32", "5"));
}

TEST(ACommandRecord, IsZeroWhenItIsMadeAndFreedWithWhatItHolds) {
    const World world;
    zeSBusState* state = zeSBusState::New(&ContractArgumentTemplate, nullptr);
    ASSERT_NE(state, nullptr);
    const auto* argument = static_cast<const ContractArgument*>(state);
    EXPECT_EQ(argument->mWord, nullptr);
    EXPECT_EQ(argument->mLeafCount, 0);
    EXPECT_EQ(argument->mLeaves, nullptr);
    zeSBusState::Delete(state);
    statebus::Record record(ContractArgumentTemplate);
    record.setText("mWord", "freed");
    record.resize("mLeaves", 3);
    record.setText("mLeaves[2].mText", "too");
    zeSBusState::Delete(record.release());
    zeSBusState::Delete(nullptr);
    state = zeSBusState::New(&ContractArgumentTemplate, "named");
    ASSERT_NE(state, nullptr);
    zeSBusState::Delete(state);
}

} // namespace
