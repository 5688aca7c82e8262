// A publisher in a process of its own, for tests that end it in every possible way.
//
// statebus_peer INSTANCE [COUNT]: publishes ContentPlayerService$INSTANCE, or COUNT of them with a
// number behind the name, prints "ready" and obeys the lines of its standard input:
//   change N   N changes, positions 1 to N
//   title T    a title; "null" for none, "bytes" for one that is not UTF-8
//   will E     a new last will with this error code; prints "done"
//   quit       says goodbye and ends
// It takes every command but "refuse", and prints none but "hang", which it prints and never
// answers.
#include <cstdlib>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "ServiceRecords.h"
#include "statebus/publisher.h"

namespace {

using statebus::Publication;
using statebus::Record;

enum ExitCode { kDone = 0, kUsage = 1, kNoBus = 2, kNotPublished = 3 };

Record lastWill(int error) {
    Record will(ContentPlayerServiceTemplate);
    will.setNumber("mState", kPlayerStopped);
    will.setNumber("mErrorCode", error);
    return will;
}

std::unique_ptr<Publication> publishPlayer(zeMultiMBusEngine& engine, const std::string& instance) {
    statebus::PublicationSpec spec;
    spec.layout = &ContentPlayerServiceTemplate;
    spec.instance = instance;
    spec.initial.emplace(ContentPlayerServiceTemplate);
    spec.initial->setNumber("mState", kPlayerPlaying);
    spec.initial->setText("mTrack.mDLNAProfile", "http-get:*:video/mp4:*");
    spec.will = lastWill(120);
    spec.onCommand = [](const statebus::Command& command) {
        if (command.word == "hang") {
            std::cout << "hang" << std::endl;
            for (;;)
                pause();
        }
        return command.word != "refuse";
    };
    std::string error;
    auto publication = statebus::publish(engine, std::move(spec), &error);
    if (publication == nullptr)
        std::cerr << "cannot publish " << instance << ": " << error << "\n";
    return publication;
}

void obey(const std::string& line, Publication& player) {
    std::istringstream words(line);
    std::string word;
    words >> word;
    if (word == "change") {
        int count = 0;
        words >> count;
        for (int i = 1; i <= count; ++i)
            player.change([&](Record& record) { record.setNumber("mPlayback.mPositionSec", i); });
    } else if (word == "title") {
        std::string title;
        words >> title;
        player.change([&](Record& record) {
            if (title == "null")
                record.setNull("mTrack.mTitle");
            else
                record.setText("mTrack.mTitle", title == "bytes" ? "caf\xE9 \x81\xFF" : title);
        });
    } else if (word == "will") {
        int error = 0;
        words >> error;
        player.setWill(lastWill(error));
        std::cout << "done" << std::endl;
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2)
        return kUsage;
    zeMultiMBusEngine engine(false);
    if (engine.Open() != 0 || engine.Start(3) != 0)
        return kNoBus;
    std::vector<std::unique_ptr<Publication>> players;
    const int count = argc > 2 ? std::atoi(argv[2]) : 1;
    for (int i = 0; i < count; ++i) {
        const std::string instance = argc > 2 ? argv[1] + std::to_string(i) : argv[1];
        players.push_back(publishPlayer(engine, instance));
        if (players.back() == nullptr)
            return kNotPublished;
    }
    std::cout << "ready" << std::endl;
    for (std::string line; std::getline(std::cin, line) && line != "quit";)
        obey(line, *players.front());
    return kDone;
}
