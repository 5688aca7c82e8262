// A publisher that tests kill and stop: see RemotePublisher. Argument: the instance name. Says
// "ready" and stays until somebody ends it.
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include <unistd.h>

#include "platform/contract/records.h"
#include "statebus/publisher.h"

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    zeMultiMBusEngine engine(false);
    if (engine.Open() != 0 || engine.Start(1) != 0)
        return 1;
    statebus::PublicationSpec spec;
    spec.layout = &contract::ContractStateTemplate;
    spec.instance = argv[1];
    spec.initial = contract::stateWith(1);
    spec.will = contract::stateWith(99);
    spec.will->setText("mText", "lost");
    spec.onCommand = [](const statebus::Command&) {
        return true;
    };
    // A write may come before publish has returned.
    std::mutex mutex;
    std::unique_ptr<statebus::Publication> publication; // guarded by it
    spec.onWrite = [&](const std::string& path, const std::string& text) {
        const std::lock_guard<std::mutex> lock(mutex);
        if (path == "will")
            publication->setWill(contract::stateWith(std::stoi(text)));
        return true;
    };
    std::string error;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        publication = statebus::publish(engine, std::move(spec), &error);
    }
    if (publication == nullptr) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    std::puts("ready");
    std::fflush(stdout);
    for (;;)
        pause();
}
