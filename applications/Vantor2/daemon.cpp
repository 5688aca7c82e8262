#include "daemon.h"

#include <algorithm>
#include <functional>

#include <glib-unix.h>
#include <unistd.h>

#include "base/authority.h"
#include "base/log.h"
#include "base/main_thread.h"

#ifndef KETRA_VERSION
#error "KETRA_VERSION comes from the build"
#endif

namespace vantor {

namespace {

// Without the bus there is no TV to render for.
constexpr std::chrono::seconds kBusPatience{10};
constexpr std::chrono::seconds kPredecessorPatience{5};
constexpr std::chrono::milliseconds kPublishPause{50};
// Records about requests, which anybody on the network can cause, and which readers keep for a
// while: as many at once as a viewer's dealings with one request take, and few per second.
constexpr std::size_t kMostRecords = 8;
constexpr std::chrono::seconds kRecordsWindow{2};

// Where the daemon listens while there is no network, and nobody but this machine can be.
constexpr const char* kNobodysAddress = "127.0.0.1";

std::string hostName() {
    char name[256] = "";
    if (gethostname(name, sizeof(name) - 1) != 0 || name[0] == '\0') {
        return "localhost";
    }
    return name;
}

std::string noNetwork(const std::string& wanted) {
    return "there is no network to serve on at the moment" +
           (wanted.empty() ? std::string() : " (KETRA_INTERFACE=" + wanted + ')') +
           "; no controller finds the renderer until there is one";
}

std::optional<std::uint32_t> requestId(const statebus::Command& command) {
    if (const auto* number = std::get_if<unsigned long long>(&command.argument)) {
        return *number <= UINT32_MAX ? std::optional<std::uint32_t>(*number) : std::nullopt;
    }
    if (const auto* number = std::get_if<long long>(&command.argument)) {
        const bool fits = *number >= 0 && *number <= static_cast<long long>(UINT32_MAX);
        return fits ? std::optional<std::uint32_t>(*number) : std::nullopt;
    }
    return std::nullopt;
}

std::optional<int> decimal(const std::string& text) {
    char* rest = nullptr;
    const long number = std::strtol(text.c_str(), &rest, 10);
    const bool whole = !text.empty() && *rest == '\0' && number >= INT16_MIN && number <= INT16_MAX;
    return whole ? std::optional<int>(static_cast<int>(number)) : std::nullopt;
}

} // namespace

Daemon::Daemon(Settings settings)
    : settings_(std::move(settings)),
      loop_(g_main_loop_new(nullptr, FALSE)),
      busAway_([this] {
          logError("the state bus has been away for ten seconds");
          end(ExitCode::noBus);
      }),
      publishAgain_([this] { publishFirst(); }),
      publishSoon_([this] {
          publishedRequests_.push_back(clock_.now());
          if (publishedRequests_.size() > kMostRecords) {
              publishedRequests_.pop_front();
          }
          publish();
      }),
      forgetPlaces_([this] { forgetPlaces(); }),
      bus_(busEvents()) {}

Daemon::~Daemon() {
    g_main_loop_unref(loop_);
}

BusEvents Daemon::busEvents() {
    BusEvents events;
    events.playerChanged = [this](const PlayerReport& report) {
        device_->transport().playerChanged(report);
    };
    events.playerGone = [this] {
        device_->transport().playerGone();
    };
    events.soundChanged = [this](unsigned volume, bool mute) {
        device_->rendering().soundChanged(volume, mute);
    };
    events.soundGone = [this] {
        device_->rendering().soundGone();
    };
    events.command = [this](const statebus::Command& word) {
        return command(word);
    };
    events.write = [this](const std::string& path, const std::string& text) {
        return write(path, text);
    };
    events.connection = [this](bool connected) {
        connectionChanged(connected);
    };
    return events;
}

ExitCode Daemon::run() {
    openMain();
    // From the first moment on, since an end that comes while it starts is an orderly one, too; and
    // until the process ends, so that an impatient second signal does not cut the goodbye short.
    const auto onSignal = [](gpointer self) -> gboolean {
        static_cast<Daemon*>(self)->end(ExitCode::ok);
        return G_SOURCE_CONTINUE;
    };
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        (void)g_unix_signal_add(number, onSignal, this);
    }
    const ExitCode started = start();
    if (started == ExitCode::ok) {
        g_main_loop_run(loop_);
    } else {
        exitCode_ = started;
    }
    sayGoodbye();
    return exitCode_;
}

ExitCode Daemon::start() {
    std::string error;
    store_ = DeviceStore::open(settings_.stateDirectory, error);
    if (!store_) {
        logError(error);
        return ExitCode::noState;
    }
    record_.friendlyNameUnresolved = store_->friendlyName().value_or(settings_.friendlyName);
    record_.friendlyName = resolveName(record_.friendlyNameUnresolved, hostName());
    const DeviceIdentity identity{store_->uuid(), record_.friendlyName, KETRA_VERSION};
    device_ = std::make_unique<RendererDevice>(
        identity, clock_, bus_, bus_, [this] { publishRequests(); }, DeviceLimits(),
        settings_.caFile);
    device_->permission().countFrom(store_->firstRequestId());
    // First, so that nothing is ever served without a TV behind it.
    if (!bus_.open(error)) {
        logError(error);
        return ExitCode::noBus;
    }
    if (!startNetwork(error)) {
        logError(error);
        return ExitCode::noNetwork;
    }
    if (!discovery_->show(error)) {
        logError(error);
        return ExitCode::noNetwork;
    }
    record_.visible = true;
    record_.playerPolicy = static_cast<int>(device_->permission().policy(ControlKind::player));
    record_.soundPolicy = static_cast<int>(device_->permission().policy(ControlKind::sound));
    publishUntil_ = clock_.now() + kPredecessorPatience;
    publishFirst();
    return ExitCode::ok;
}

bool Daemon::startNetwork(std::string& error) {
    if (!mayAppear(settings_.networkInterface)) {
        error = "no such network interface or address: " + settings_.networkInterface;
        return false;
    }
    const auto wanted = choosePlaces(networkPlaces(), settings_.networkInterface);
    if (wanted.empty()) {
        // The port is settled all the same; it stays the same on whatever network appears.
        logWarning(noNetwork(settings_.networkInterface));
        if (!device_->listen(kNobodysAddress, settings_.port, error)) {
            error = "cannot serve on port " + std::to_string(settings_.port) + ": " + error;
            return false;
        }
    } else if (!serveOn(wanted, error)) {
        return false;
    }
    record_.webServerPort = device_->port();
    DiscoveredDevice device;
    device.uuid = store_->uuid();
    device.deviceType = kDeviceType;
    for (const ServiceDescription* service :
         {&avTransportDescription(), &renderingControlDescription(),
          &connectionManagerDescription()}) {
        device.serviceTypes.push_back(service->type);
    }
    device.descriptionPath = kDescriptionPath;
    device.port = device_->port();
    device.server = serverProduct(KETRA_VERSION);
    discovery_ = std::make_unique<Discovery>(std::move(device));
    discovery_->setPlaces(places_);
    networkWatch_ = std::make_unique<NetworkWatch>([this] { networkChanged(); });
    return true;
}

// Listens wherever it is wanted and possible; places_ are those. False when it is possible nowhere.
bool Daemon::serveOn(const std::vector<NetworkPlace>& wanted, std::string& error) {
    std::vector<NetworkPlace> served;
    for (const NetworkPlace& place : wanted) {
        const std::uint16_t port = device_->port() != 0 ? device_->port() : settings_.port;
        std::string reason;
        if (!device_->listensOn(place.address) && !device_->listen(place.address, port, reason)) {
            error = "cannot serve on " + place.address + " port " + std::to_string(port) + ": " +
                    reason;
            if (device_->port() != 0) {
                logWarning(error);
            }
            continue;
        }
        served.push_back(place);
        if (std::find(places_.begin(), places_.end(), place) == places_.end()) {
            logInfo("\"" + record_.friendlyName + "\" on " + place.interface + ", http://" +
                    authorityOf(place.address, device_->port()) + kDescriptionPath);
        }
    }
    places_ = std::move(served);
    return !places_.empty();
}

// A network that went away may come back: the daemon waits for it, however long that takes.
void Daemon::networkChanged() {
    for (const NetworkPlace& place : places_) {
        const auto now = networkPlaces();
        if (std::find(now.begin(), now.end(), place) == now.end()) {
            logInfo(place.address + " on " + place.interface + " has gone");
        }
    }
    std::string error;
    const bool served = !places_.empty();
    if (!serveOn(choosePlaces(networkPlaces(), settings_.networkInterface), error) &&
        (served || !error.empty())) {
        logWarning(error.empty() ? noNetwork(settings_.networkInterface) : error);
    }
    discovery_->setPlaces(places_);
    forgetPlaces();
}

void Daemon::forgetPlaces() {
    std::vector<std::string> present;
    for (const NetworkPlace& place : places_) {
        present.push_back(place.address);
    }
    const TimePoint now = clock_.now();
    device_->listenOnlyOn(away_.toKeep(device_->server().addresses(), present, now));
    forgetPlaces_.stop();
    if (const auto due = away_.due()) {
        forgetPlaces_.start(std::chrono::ceil<std::chrono::milliseconds>(*due - now));
    }
}

void Daemon::end(ExitCode code) {
    exitCode_ = code;
    g_main_loop_quit(loop_);
}

void Daemon::sayGoodbye() {
    closeMain();
    if (discovery_) {
        discovery_->hide();
    }
    if (published_) {
        // Whoever waits for the renderer to leave the network learns it from the record.
        record_.visible = false;
        record_.requests.clear();
        std::string ignored;
        bus_.publish(record_, ignored);
    }
    published_ = false;
    bus_.close();
}

// A daemon that was killed a moment ago may still hold its place on the bus.
void Daemon::publishFirst() {
    std::string error;
    published_ = bus_.publish(record_, error);
    if (published_) {
        return;
    }
    if (clock_.now() < publishUntil_) {
        publishAgain_.start(kPublishPause);
        return;
    }
    logError("cannot publish the renderer's state: " + error);
    end(ExitCode::noBus);
}

void Daemon::publish() {
    if (!published_) {
        return;
    }
    const Permission& permission = device_->permission();
    record_.playerPolicy = static_cast<int>(permission.policy(ControlKind::player));
    record_.soundPolicy = static_cast<int>(permission.policy(ControlKind::sound));
    record_.requests = permission.requests();
    for (const ControlRequest& request : record_.requests) {
        store_->keepRequestId(request.id); // before anybody sees it
    }
    publishSoon_.stop();
    std::string error;
    bus_.publish(record_, error);
}

// What one action changes is one record: it is published when the action is over.
void Daemon::publishRequests() {
    if (publishSoon_.running()) {
        return;
    }
    const TimePoint now = clock_.now();
    const TimePoint due = publishedRequests_.size() < kMostRecords
                              ? now
                              : std::max(now, publishedRequests_.front() + kRecordsWindow);
    publishSoon_.start(std::chrono::ceil<std::chrono::milliseconds>(due - now));
}

bool Daemon::setVisible(bool visible) {
    std::string error;
    if (visible && !record_.visible) {
        record_.visible = discovery_->show(error);
        device_->setOnNetwork(record_.visible);
        logInfo(record_.visible ? "shown on the network" : "not shown: " + error);
    } else if (!visible && record_.visible) {
        discovery_->hide();
        record_.visible = false;
        device_->setOnNetwork(false);
        logInfo("hidden from the network");
    }
    // Also when nothing changed: whoever wrote waits for a record that says what is true.
    publish();
    return record_.visible == visible;
}

bool Daemon::command(const statebus::Command& command) {
    Permission& permission = device_->permission();
    struct AnswerRow {
        const char* word;
        bool (Permission::*answer)(std::uint32_t);
    };
    static constexpr AnswerRow kAnswers[] = {
        {"authorize_operation", &Permission::allow},
        {"deny_operation", &Permission::deny},
        {"postpone_authorization", &Permission::postpone},
    };
    for (const AnswerRow& row : kAnswers) {
        if (command.word == row.word) {
            const auto id = requestId(command);
            return id && (permission.*row.answer)(*id);
        }
    }
    if (command.word == "setfriendlyname") {
        const auto* name = std::get_if<std::string>(&command.argument);
        return name != nullptr && rename(*name);
    }
    if (command.word == "exit") {
        end(ExitCode::ok);
        return true;
    }
    logWarning("unknown command: " + command.word);
    return false;
}

// Stored only: the record and the announcements change when the daemon starts again, which the TV
// brings about at once.
bool Daemon::rename(const std::string& name) {
    const bool stored = store_->setFriendlyName(name);
    if (stored) {
        logInfo("the name from the next start on is \"" + name + "\"");
    }
    return stored;
}

bool Daemon::write(const std::string& path, const std::string& text) {
    const auto number = decimal(text);
    bool accepted = false;
    if (path == "mfVisible" && number && (*number == 0 || *number == 1)) {
        return setVisible(*number == 1);
    }
    if (path == "mPlayerControlAuthorization" && number) {
        accepted = device_->permission().setPolicy(ControlKind::player, *number);
    } else if (path == "mSoundControlAuthorization" && number) {
        accepted = device_->permission().setPolicy(ControlKind::sound, *number);
    }
    if (accepted) {
        publish(); // with the answer, as whoever wrote expects
    } else {
        logWarning("write of " + path + " refused: " + text);
    }
    return accepted;
}

void Daemon::connectionChanged(bool connected) {
    if (connected) {
        busAway_.stop();
    } else if (!busAway_.running()) {
        logWarning("the state bus has gone away");
        busAway_.start(kBusPatience);
    }
}

} // namespace vantor
