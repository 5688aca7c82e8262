// What ThreadSanitizer says of a program that uses the bus. A race on purpose, which it has to
// report: a variable without a lock, written by a thread of ours and by a callback that the bus
// library runs. And the bus library's own race, which it must not report.
//   planted_bus_race callback | library
#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <thread>

namespace {

int counter = 0;
// Relaxed: orders the two writes in time, and nothing for the sanitizer.
std::atomic<bool> firstIsWritten{false};

int writeInCallback(sd_event_source*, void* loop) {
    while (!firstIsWritten.load(std::memory_order_relaxed))
        std::this_thread::yield();
    ++counter;
    return sd_event_exit(static_cast<sd_event*>(loop), 0);
}

void raceWithCallback() {
    std::thread other([] {
        ++counter;
        firstIsWritten.store(true, std::memory_order_relaxed);
    });
    sd_event* loop = nullptr;
    sd_event_new(&loop);
    sd_event_add_defer(loop, nullptr, writeInCallback, loop);
    sd_event_loop(loop);
    sd_event_unref(loop);
    other.join();
    std::printf("written %d times\n", counter);
}

int answer(sd_bus_message*, void*, sd_bus_error*) {
    return 0;
}

/// So many that the table of them has to grow, for which the library takes a new random number.
const sd_bus_vtable kMethods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("One", "", "", answer, 0),
    SD_BUS_METHOD("Two", "", "", answer, 0),
    SD_BUS_METHOD("Three", "", "", answer, 0),
    SD_BUS_METHOD("Four", "", "", answer, 0),
    SD_BUS_METHOD("Five", "", "", answer, 0),
    SD_BUS_METHOD("Six", "", "", answer, 0),
    SD_BUS_METHOD("Seven", "", "", answer, 0),
    SD_BUS_VTABLE_END,
};

void publishOften() {
    for (int time = 0; time < 100; ++time) {
        sd_bus* bus = nullptr;
        sd_bus_new(&bus);
        sd_bus_add_object_vtable(bus, nullptr, "/planted", "planted.Race", kMethods, nullptr);
        sd_bus_unref(bus);
    }
}

/// Two connections, each on a thread of its own, as the library allows it.
void useTwoConnections() {
    std::thread other(publishOften);
    publishOften();
    other.join();
    std::printf("published\n");
}

} // namespace

int main(int count, char** words) {
    if (count == 2 && std::strcmp(words[1], "callback") == 0)
        raceWithCallback();
    else if (count == 2 && std::strcmp(words[1], "library") == 0)
        useTwoConnections();
    else
        return 2;
    return 0;
}
