// The state bus beside what it is built on: a bare Unix socket and a bare D-Bus connection, in one
// run, between two processes.
//
// For each carrier the other process sends changes once a millisecond (change sent until received),
// answers questions one after the other (round trip), and sends changes as fast as they go.
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include <systemd/sd-bus.h>

#include "ServiceRecords.h"
#include "measured.h"
#include "statebus/publisher.h"
#include "support/private_bus.h"
#include "ze/zeSBus.h"

namespace {

using bench::now;
using bench::Row;

constexpr std::size_t kPayload = 1100;
constexpr int kPaced = 2000;
constexpr int kRoundTrips = 2000;
constexpr int kFast = 20000;
constexpr char kName[] = "tv.bench";
constexpr char kPath[] = "/tv/bench";

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "statebus_bench: %s\n", what);
    std::exit(1);
}

/// The other process, and the line on which it is told to begin.
class Other {
public:
    explicit Other(const std::function<void(int)>& main) {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            fail("no socket");
        pid_ = fork();
        if (pid_ == 0) {
            close(ends[0]);
            main(ends[1]);
            _exit(0);
        }
        close(ends[1]);
        line_ = ends[0];
    }
    ~Other() {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        close(line_);
    }
    Other(const Other&) = delete;
    Other& operator=(const Other&) = delete;

    int line() const { return line_; }
    void tell(char what) const {
        if (write(line_, &what, 1) != 1)
            fail("the other process is gone");
    }
    void waitUntilReady() const {
        char ready = 0;
        if (read(line_, &ready, 1) != 1)
            fail("the other process does not start");
    }

private:
    pid_t pid_ = -1;
    int line_ = -1;
};

/// What every sending side does: changes once a millisecond on 'p', as fast as they go on 'f'.
void sendAsTold(char what, const std::function<void()>& send) {
    for (int i = 0; what == 'p' && i < kPaced; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        send();
    }
    for (int i = 0; what == 'f' && i < kFast; ++i)
        send();
}

// ---- A bare Unix socket ----

struct Packet {
    std::uint64_t sent;
    char payload[kPayload - sizeof(std::uint64_t)];
};

void receive(int socket, Packet& packet) {
    if (recv(socket, &packet, sizeof packet, MSG_WAITALL) != static_cast<ssize_t>(sizeof packet))
        _exit(1);
}

void transmit(int socket, const Packet& packet) {
    if (send(socket, &packet, sizeof packet, 0) != static_cast<ssize_t>(sizeof packet))
        _exit(1);
}

Row measureSocket() {
    const Other other([](int line) {
        Packet packet = {};
        for (char what = 0; read(line, &what, 1) == 1;) {
            sendAsTold(what, [&] {
                packet.sent = now();
                transmit(line, packet);
            });
            for (int i = 0; what == 'r' && i < kRoundTrips; ++i) {
                receive(line, packet);
                transmit(line, packet);
            }
        }
    });
    Row row{"Unix socket", {}, {}};
    Packet packet = {};
    other.tell('p');
    for (int i = 0; i < kPaced; ++i) {
        receive(other.line(), packet);
        row.change.add(now() - packet.sent);
    }
    other.tell('r');
    for (int i = 0; i < kRoundTrips; ++i) {
        const std::uint64_t start = now();
        transmit(other.line(), packet);
        receive(other.line(), packet);
        row.roundTrip.add(now() - start);
    }
    const std::uint64_t start = now();
    other.tell('f');
    for (int i = 0; i < kFast; ++i)
        receive(other.line(), packet);
    row.perSecond = kFast * 1e9 / static_cast<double>(now() - start);
    return row;
}

// ---- A bare D-Bus connection ----

sd_bus* connectBare() {
    sd_bus* bus = nullptr;
    if (sd_bus_new(&bus) < 0 || sd_bus_set_address(bus, std::getenv("KETRA_BUS_ADDRESS")) < 0 ||
        sd_bus_set_bus_client(bus, 1) < 0 || sd_bus_start(bus) < 0)
        fail("no bus");
    return bus;
}

/// Processes until `done`.
void serve(sd_bus* bus, const std::function<bool()>& done) {
    while (!done()) {
        const int result = sd_bus_process(bus, nullptr);
        if (result < 0)
            _exit(1);
        if (result == 0)
            sd_bus_wait(bus, UINT64_MAX);
    }
}

int answer(sd_bus_message* call, void* user, sd_bus_error*) {
    ++*static_cast<int*>(user);
    return sd_bus_reply_method_return(call, "b", 1);
}

const sd_bus_vtable kBareTable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Command", "sav", "b", answer, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

void bareOther(int line) {
    sd_bus* const bus = connectBare();
    int answered = 0;
    const std::string payload(kPayload - 8, 'x');
    sd_bus_add_object_vtable(bus, nullptr, kPath, kName, kBareTable, &answered);
    if (sd_bus_request_name(bus, kName, 0) < 0 || write(line, "!", 1) != 1)
        _exit(1);
    for (char what = 0; read(line, &what, 1) == 1;) {
        sendAsTold(what, [&] {
            sd_bus_emit_signal(bus, kPath, kName, "Changed", "ts", now(), payload.c_str());
            sd_bus_flush(bus);
        });
        if (what == 'r')
            serve(bus, [&] { return answered == kRoundTrips; });
    }
}

struct BareReceiver {
    Row* row;
    int count;
};

int onBareChange(sd_bus_message* message, void* user, sd_bus_error*) {
    auto* const receiver = static_cast<BareReceiver*>(user);
    std::uint64_t sent = 0;
    const char* payload = nullptr;
    sd_bus_message_read(message, "ts", &sent, &payload);
    if (receiver->count++ < kPaced)
        receiver->row->change.add(now() - sent);
    return 0;
}

Row measureBareBus() {
    const Other other(bareOther);
    other.waitUntilReady();
    Row row{"D-Bus, bare", {}, {}};
    BareReceiver receiver{&row, 0};
    sd_bus* const bus = connectBare();
    sd_bus_match_signal(bus, nullptr, nullptr, kPath, kName, "Changed", onBareChange, &receiver);
    other.tell('p');
    serve(bus, [&] { return receiver.count == kPaced; });
    const std::uint64_t start = now();
    other.tell('f');
    serve(bus, [&] { return receiver.count == kPaced + kFast; });
    row.perSecond = kFast * 1e9 / static_cast<double>(now() - start);
    other.tell('r');
    for (int i = 0; i < kRoundTrips; ++i) {
        const std::uint64_t asked = now();
        if (sd_bus_call_method(bus, kName, kPath, kName, "Command", nullptr, nullptr, "sav", "play",
                               1, "s", "1/2") < 0)
            fail("a bare call failed");
        row.roundTrip.add(now() - asked);
    }
    sd_bus_flush_close_unref(bus);
    return row;
}

// ---- The state bus ----

statebus::Record playerRecord() {
    statebus::Record record(ContentPlayerServiceTemplate);
    record.setNumber("mState", kPlayerPlaying);
    record.setText("mStateStr", "PLAYING");
    record.setText("mTrack.mURI", "http://192.168.1.20:8200/MediaItems/" + std::string(100, '7'));
    record.setText("mTrack.mTitle", "A film with a title of the usual length");
    record.setText("mTrack.mDLNAProfile", "http-get:*:video/mp4:DLNA.ORG_OP=01;DLNA.ORG_CI=0");
    record.setText("mInfoStr", "MetadataStr=" + std::string(500, 'i'));
    record.setText("mPlayback.mSpeed", "1");
    record.resize("mThumbnail", 2);
    return record;
}

void stateOther(int line) {
    zeMultiMBusEngine engine(false);
    if (engine.Open() != 0 || engine.Start(3) != 0)
        _exit(1);
    statebus::PublicationSpec spec;
    spec.layout = &ContentPlayerServiceTemplate;
    spec.instance = "main";
    spec.initial = playerRecord();
    spec.onCommand = [](const statebus::Command&) {
        return true;
    };
    const auto player = statebus::publish(engine, std::move(spec), nullptr);
    if (player == nullptr || write(line, "!", 1) != 1)
        _exit(1);
    for (char what = 0; read(line, &what, 1) == 1;)
        sendAsTold(what, [&] {
            player->change([](statebus::Record& record) {
                // The time goes along in the record: seconds and nanoseconds of the clock.
                const std::uint64_t time = now();
                record.setNumber("mPlayback.mPositionSec",
                                 static_cast<long long>(time / 1000000000));
                record.setNumber("mPlayback.mPositionPercentage",
                                 static_cast<long long>(time % 1000000000));
            });
        });
}

struct StateReceiver {
    Row row{"state bus", {}, {}};
    std::mutex mutex;
    std::condition_variable changed;
    int count = -1; ///< the record at the start is not counted

    void waitFor(int wanted) {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [&] { return count >= wanted; });
    }

    static void onChange(zeSBusManager*, void* user, const zeSBusStateSerializable* state) {
        const std::uint64_t received = now();
        auto* const self = static_cast<StateReceiver*>(user);
        const auto& playback = reinterpret_cast<const ContentPlayerService*>(state)->mPlayback;
        const std::lock_guard<std::mutex> lock(self->mutex);
        if (self->count >= 0 && self->count < kPaced)
            self->row.change.add(
                received - (playback.mPositionSec * 1000000000ULL + playback.mPositionPercentage));
        ++self->count;
        self->changed.notify_all();
    }
};

Row measureStateBus() {
    const Other other(stateOther);
    other.waitUntilReady();
    StateReceiver receiver;
    zeMultiMBusEngine engine(false);
    zeSBusManager manager;
    manager.RegisterToStateChange(&ContentPlayerServiceTemplate, "main", StateReceiver::onChange,
                                  &receiver);
    manager.AttachEngine(&engine);
    if (engine.Open() != 0 || engine.Start(3) != 0)
        fail("no bus");
    receiver.waitFor(0);
    other.tell('p');
    receiver.waitFor(kPaced);
    const std::uint64_t start = now();
    other.tell('f');
    receiver.waitFor(kPaced + kFast);
    receiver.row.perSecond = kFast * 1e9 / static_cast<double>(now() - start);
    for (int i = 0; i < kRoundTrips; ++i) {
        const std::uint64_t asked = now();
        zeSBusCommand play("play", "1/2");
        if (!play.Execute(&manager, "ContentPlayerService", "main"))
            fail("a command was refused");
        receiver.row.roundTrip.add(now() - asked);
    }
    manager.Stop();
    engine.Stop();
    return receiver.row;
}

} // namespace

int main() {
    const testing_support::PrivateBus bus;
    std::vector<Row> rows;
    // The state bus comes last: it leaves threads, and the others fork.
    rows.push_back(measureSocket());
    rows.push_back(measureBareBus());
    rows.push_back(measureStateBus());
    bench::print(rows);
    return 0;
}
