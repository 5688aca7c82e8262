#include "platform/contract/harness.h"

#include <algorithm>
#include <utility>

namespace contract {

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

Publisher::Publisher() : engine(false) {
    EXPECT_EQ(engine.Open(), 0);
    EXPECT_EQ(engine.Start(1), 0);
}

Publisher::~Publisher() {
    engine.Stop();
}

statebus::PublicationSpec Publisher::specOf(const std::string& instance, int number) {
    statebus::PublicationSpec spec;
    spec.layout = &ContractStateTemplate;
    if (!instance.empty())
        spec.instance = instance;
    spec.initial = stateWith(number);
    return spec;
}

std::unique_ptr<statebus::Publication> Publisher::publish(statebus::PublicationSpec spec) {
    std::string error;
    auto publication = statebus::publish(engine, std::move(spec), &error);
    EXPECT_NE(publication, nullptr) << error;
    return publication;
}

Subscriber::Subscriber(const Lines& types, Hook hook)
    : Subscriber(types, &ContractStateTemplate, std::move(hook)) {}

Subscriber::Subscriber(const Lines& types, const zeSBusStateTemplate* layout, Hook hook)
    : engine(false), layout_(layout), hook_(std::move(hook)) {
    EXPECT_TRUE(manager.RegisterRemoteSBusStateCallback(onNotice, this));
    for (const std::string& type : types)
        EXPECT_TRUE(manager.RegisterListeningSBusState(type.c_str(), ""));
    manager.AttachEngine(&engine);
    EXPECT_EQ(engine.Open(), 0);
    EXPECT_EQ(engine.Start(3), 0);
}

Subscriber::~Subscriber() {
    stop();
}

void Subscriber::stop() {
    if (stopped_)
        return;
    stopped_ = true;
    manager.Stop();
    engine.Stop();
}

std::vector<Sighting> Subscriber::sightings() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return sightings_;
}

Lines Subscriber::seen() const {
    Lines lines;
    for (const Sighting& sighting : sightings())
        lines.push_back(sighting.text);
    return lines;
}

std::vector<Sighting> Subscriber::changes() const {
    std::vector<Sighting> found;
    for (Sighting& sighting : sightings())
        if (sighting.record)
            found.push_back(std::move(sighting));
    return found;
}

bool Subscriber::waitFor(const std::string& text) const {
    return waitUntil([&] {
        const std::lock_guard<std::mutex> lock(mutex_);
        return std::any_of(sightings_.begin(), sightings_.end(),
                           [&](const Sighting& sighting) { return sighting.text == text; });
    });
}

bool Subscriber::waitForCount(std::size_t sightings) const {
    return waitUntil([&] {
        const std::lock_guard<std::mutex> lock(mutex_);
        return sightings_.size() >= sightings;
    });
}

void Subscriber::onNotice(zeSBusManager* manager, void* user, const char* fullName, bool added) {
    auto* self = static_cast<Subscriber*>(user);
    const std::string name = fullName;
    const std::size_t dollar = name.find('$');
    if (added && self->layout_ != nullptr && name.substr(0, dollar) == self->layout_->mTypeName) {
        const std::string instance = dollar == std::string::npos ? "" : name.substr(dollar + 1);
        EXPECT_TRUE(
            manager->RegisterToStateChange(self->layout_, instance.c_str(), onChange, self));
    }
    self->write(*manager, {(added ? "added " : "removed ") + name, {}, nullptr, {}});
}

void Subscriber::onChange(zeSBusManager* manager, void* user,
                          const zeSBusStateSerializable* state) {
    auto* self = static_cast<Subscriber*>(user);
    statebus::Record copy(*self->layout_, state);
    const std::string text =
        state->GetFullName() + (" is " + std::to_string(copy.number("mInt32").value_or(0)));
    self->write(*manager, {text, std::move(copy), state, {}});
}

void Subscriber::write(zeSBusManager& from, Sighting sighting) {
    sighting.thread = std::this_thread::get_id();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        sightings_.push_back(sighting);
    }
    if (hook_)
        hook_(from, sighting);
}

std::function<bool(const statebus::Command&)> Answers::commands() {
    return [this](const statebus::Command& command) {
        const std::lock_guard<std::mutex> lock(mutex_);
        received_.push_back(command);
        return accept_;
    };
}

std::function<bool(const std::string&, const std::string&)> Answers::writes() {
    return [this](const std::string& path, const std::string& text) {
        const std::lock_guard<std::mutex> lock(mutex_);
        written_.push_back(path + "=" + text);
        return accept_;
    };
}

std::vector<statebus::Command> Answers::received() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return received_;
}

Lines Answers::written() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return written_;
}

} // namespace contract
