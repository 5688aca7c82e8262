#include "sbus/actions.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <functional>
#include <iterator>

#include "ServiceRecords.h"
#include "sbus/bus.h"
#include "sbus/record_text.h"
#include "sbus/states.h"
#include "statebus/visible_text.h"
#include "ze/zeTools.h"

namespace sbus {

namespace {

std::FILE* answers = stdout;

/// As long as the bus itself waits for an answer.
constexpr std::chrono::seconds kRecordLimit{5};
constexpr char kSilentBus[] = "the state bus does not answer";

void complain(const std::string& text) {
    std::fprintf(stderr, "sbus: %s\n", text.c_str());
}

void print(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), answers);
    std::fflush(answers);
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : ", ") + word;
    return text;
}

std::string typeNames() {
    std::vector<std::string> names;
    for (const zeSBusStateTemplate* state : knownStates())
        names.emplace_back(state->mTypeName);
    return joined(names);
}

bool openOrComplain(Bus& bus) {
    if (bus.open())
        return true;
    complain("no state bus answers; KETRA_BUS_ADDRESS or DBUS_SESSION_BUS_ADDRESS names it");
    return false;
}

/// The full name that the request means, or nothing after telling why.
std::optional<std::string> findOrComplain(Bus& bus, const std::string& wanted, ExitCode& code) {
    code = ExitCode::kNoSuchState;
    if (findState(splitName(wanted).type) == nullptr) {
        complain("no such state: " + statebus::visibleText(wanted) + "; there are " + typeNames());
        return std::nullopt;
    }
    const auto all = bus.everything();
    if (!all) {
        code = ExitCode::kNoBus;
        complain(kSilentBus);
        return std::nullopt;
    }
    std::vector<std::string> found;
    std::copy_if(all->begin(), all->end(), std::back_inserter(found), [](const std::string& name) {
        return findState(splitName(name).type) != nullptr;
    });
    const Resolution resolution = resolve(wanted, found);
    switch (resolution.kind) {
    case Resolution::Kind::kFound:
        if (bus.await(resolution.fullName, kRecordLimit))
            return resolution.fullName;
        complain(resolution.fullName + " has left the bus");
        return std::nullopt;
    case Resolution::Kind::kAmbiguous:
        code = ExitCode::kUsage;
        complain(wanted + " has several instances, name one: " + joined(resolution.candidates));
        return std::nullopt;
    case Resolution::Kind::kNone:
        break;
    }
    complain(statebus::visibleText(wanted) + " is not on the bus" +
             (found.empty() ? "; nothing is" : "; there are " + joined(found)));
    return std::nullopt;
}

ExitCode list() {
    Bus bus;
    if (!openOrComplain(bus))
        return ExitCode::kNoBus;
    const auto names = bus.everything();
    if (!names) {
        complain(kSilentBus);
        return ExitCode::kNoBus;
    }
    for (const std::string& name : *names)
        print(statebus::visibleText(name) + '\n');
    return ExitCode::kOk;
}

/// Does something with the one instance that the request means, or tells why there is none.
ExitCode withInstance(const Request& request,
                      const std::function<ExitCode(Bus&, const std::string& name)>& use) {
    Bus bus;
    if (!openOrComplain(bus))
        return ExitCode::kNoBus;
    ExitCode code = ExitCode::kOk;
    const auto name = findOrComplain(bus, request.state, code);
    return name ? use(bus, *name) : code;
}

ExitCode show(Bus& bus, const std::string& name) {
    const auto record = bus.record(name, kRecordLimit);
    if (!record) {
        complain(name + " is on the bus, but its publisher does not answer");
        return ExitCode::kRefused;
    }
    print(name + '\n' + toLines(fieldsOf(record->layout(), record->data()), "  "));
    return ExitCode::kOk;
}

std::string timeOfDay() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    char text[32];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03ld", local.tm_hour, local.tm_min,
                  local.tm_sec, now.tv_nsec / 1000000);
    return text;
}

/// Prints what happens to the instances that are watched. On the delivery thread only.
class Watch {
public:
    explicit Watch(std::string wanted) : wanted_(std::move(wanted)) {}

    Listener listener() {
        Listener listener;
        listener.appeared = [this](const std::string& name) {
            note(name, "added");
        };
        listener.gone = [this](const std::string& name) {
            note(name, "removed");
            last_.erase(name);
        };
        listener.changed = [this](const std::string& name, const statebus::Record& record) {
            change(name, fieldsOf(record.layout(), record.data()));
        };
        listener.connection = [](bool connected) {
            print(timeOfDay() + (connected ? " the bus is there\n" : " the bus is gone\n"));
        };
        return listener;
    }

private:
    bool isWatched(const std::string& name) const {
        return wanted_.empty() || wanted_ == name || wanted_ == splitName(name).type;
    }

    void note(const std::string& name, const char* what) const {
        if (isWatched(name))
            print(timeOfDay() + ' ' + statebus::visibleText(name) + ' ' + what + '\n');
    }

    void change(const std::string& name, std::vector<Field> fields) {
        if (!isWatched(name))
            return;
        const auto last = last_.find(name);
        const std::string heading = timeOfDay() + ' ' + statebus::visibleText(name);
        if (last == last_.end()) {
            print(heading + '\n' + toLines(fields, "  "));
        } else {
            const auto changed = changedFields(last->second, fields);
            print(heading + (changed.empty() ? " announced, nothing differs\n" : "\n") +
                  toLines(changed, "  "));
        }
        last_[name] = std::move(fields);
    }

    std::string wanted_;
    std::map<std::string, std::vector<Field>> last_;
};

ExitCode watch(const Request& request) {
    if (!request.state.empty() && findState(splitName(request.state).type) == nullptr) {
        complain("no such state: " + statebus::visibleText(request.state) + "; there are " +
                 typeNames());
        return ExitCode::kNoSuchState;
    }
    // Blocked before the bus starts its threads, so that none of them is interrupted instead.
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGINT);
    sigaddset(&ending, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    Watch watch(request.state);
    Bus bus(watch.listener());
    if (!openOrComplain(bus))
        return ExitCode::kNoBus;
    int signal = 0;
    sigwait(&ending, &signal);
    return ExitCode::kOk;
}

/// A record as the argument of a command, its texts filled in.
template <class Record>
std::unique_ptr<zeSBusCommand>
recordCommand(const std::string& word, const zeSBusStateTemplate& layout,
              std::initializer_list<std::pair<char * Record::*, const std::string*>> texts) {
    zeSBusState* state = zeSBusState::New(&layout, nullptr);
    if (state == nullptr)
        return nullptr;
    for (const auto& text : texts)
        if (text.second != nullptr)
            static_cast<Record*>(state)->*text.first = zeStrdup(text.second->c_str());
    return std::make_unique<zeSBusCommand>(word.c_str(), state);
}

std::unique_ptr<zeSBusCommand> buildCommand(const Request& request) {
    const char* word = request.word.c_str();
    if (const auto* text = std::get_if<std::string>(&request.argument))
        return std::make_unique<zeSBusCommand>(word, text->c_str());
    if (const auto* number = std::get_if<long>(&request.argument))
        return std::make_unique<zeSBusCommand>(word, *number);
    if (const auto* number = std::get_if<unsigned long>(&request.argument))
        return std::make_unique<zeSBusCommand>(word, *number);
    if (const auto* custom = std::get_if<CustomCommand>(&request.argument)) {
        using Custom = ContentPlayerServiceCustomCommand;
        return recordCommand<Custom>(
            request.word, ContentPlayerServiceCustomCommandTemplate,
            {{&Custom::mCommand, &custom->word}, {&Custom::mArgument, &custom->value}});
    }
    if (const auto* media = std::get_if<MediaAddress>(&request.argument)) {
        // A single media is its own container.
        using Address = ContentPlayerServiceURIEx;
        const std::string* didl = media->didl.empty() ? nullptr : &media->didl;
        return recordCommand<Address>(request.word, ContentPlayerServiceURIExTemplate,
                                      {{&Address::mMediaURI, &media->uri},
                                       {&Address::mMediaInfo, didl},
                                       {&Address::mTrackURI, &media->uri},
                                       {&Address::mTrackInfo, didl}});
    }
    return std::make_unique<zeSBusCommand>(word);
}

ExitCode command(const Request& request) {
    return withInstance(request, [&](Bus& bus, const std::string& name) {
        const auto built = buildCommand(request);
        if (built && bus.execute(name, *built))
            return ExitCode::kOk;
        complain(name + " refused \"" + statebus::visibleText(request.word) +
                 "\" or did not answer");
        return ExitCode::kRefused;
    });
}

ExitCode set(const Request& request) {
    const zeSBusStateTemplate* layout = findState(splitName(request.state).type);
    if (layout != nullptr && !isWritable(*layout, request.path)) {
        complain(std::string(layout->mTypeName) + " has no field \"" +
                 statebus::visibleText(request.path) + "\"; its fields are " +
                 joined(writablePaths(*layout)));
        return ExitCode::kUsage;
    }
    return withInstance(request, [&](Bus& bus, const std::string& name) {
        if (bus.write(name, request.path, request.value))
            return ExitCode::kOk;
        complain(name + " refused " + request.path + " = " + statebus::quotedText(request.value) +
                 " or did not answer");
        return ExitCode::kRefused;
    });
}

} // namespace

void answerInto(std::FILE* file) {
    answers = file;
}

ExitCode perform(const Request& request) {
    switch (request.action) {
    case Action::kHelp:
        print(kHelpText);
        return ExitCode::kOk;
    case Action::kList:
        return list();
    case Action::kShow:
        return withInstance(request, show);
    case Action::kWatch:
        return watch(request);
    case Action::kCommand:
        return command(request);
    case Action::kSet:
        return set(request);
    }
    return ExitCode::kUsage;
}

} // namespace sbus
