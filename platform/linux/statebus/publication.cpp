#include <mutex>
#include <utility>

#include "statebus/engine.h"
#include "statebus/published_state.h"
#include "statebus/publisher.h"
#include "statebus/record_codec.h"
#include "statebus/state.h"
#include "ze/zeConsole.h"

namespace statebus {

namespace {

SharedWireRecord encode(const Record& record) {
    return std::make_shared<const WireRecord>(encodeRecord(record.layout(), record.data()));
}

/// A state of this program: the record and, behind it, what the bus sees of it.
class BusPublication : public Publication {
public:
    BusPublication(std::shared_ptr<PublishedState> state, StateName name, Record record)
        : state_(std::move(state)), name_(std::move(name)), record_(std::move(record)) {}
    ~BusPublication() override { state_->close(true); }

    void change(const std::function<void(Record&)>& edit) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        Record changed = record_;
        edit(changed);
        SharedWireRecord wire = encode(changed);
        if (!isGood(*wire, "change"))
            return;
        record_ = std::move(changed);
        // Under the lock: the order of the calls is the order of the announcements.
        state_->announce(std::move(wire));
    }

    Record snapshot() const override {
        const std::lock_guard<std::mutex> lock(mutex_);
        return record_;
    }

    void setWill(const Record& will) override {
        SharedWireRecord wire = encode(will);
        if (isGood(*wire, "last will"))
            state_->setWill(std::move(wire));
    }

private:
    bool isGood(const WireRecord& wire, const char* what) const {
        if (wire.isAcceptable())
            return true;
        zeConsole_Printf("statebus: %s of '%s' refused: it is too large\n", what,
                         fullName(name_).c_str());
        return false;
    }

    const std::shared_ptr<PublishedState> state_;
    const StateName name_;
    mutable std::mutex mutex_; ///< guards the record and the order of changes
    Record record_;
};

/// What is wrong with what shall be published, null when nothing is.
const char* faultOf(const PublicationSpec& spec) {
    if (spec.layout == nullptr || !isTopLevel(*spec.layout))
        return "there is no layout of a state";
    if (!busName({spec.layout->mTypeName, spec.instance.value_or("")}))
        return "its name is too long";
    for (const std::optional<Record>* record : {&spec.initial, &spec.will}) {
        if (!record->has_value())
            continue;
        if (&(*record)->layout() != spec.layout)
            return "a record has another layout";
        if (!encode(**record)->isAcceptable())
            return "a record is too large";
    }
    return nullptr;
}

} // namespace

std::unique_ptr<Publication> publish(zeMultiMBusEngine& engine, PublicationSpec spec,
                                     std::string* error) {
    std::string why;
    std::string* const reason = error == nullptr ? &why : error;
    if (const char* fault = faultOf(spec)) {
        *reason = fault;
        return nullptr;
    }
    const std::shared_ptr<Connection> connection = engineOf(engine).connection();
    const std::shared_ptr<WorkQueue> service = engineOf(engine).service();
    if (connection == nullptr || service == nullptr) {
        *reason = "the engine is not running";
        return nullptr;
    }
    const StateName name{spec.layout->mTypeName, spec.instance.value_or("")};
    auto state = std::make_shared<PublishedState>(
        connection, service, name,
        PublishedState::Answers{std::move(spec.argumentLayouts), std::move(spec.onCommand),
                                std::move(spec.onWrite)});
    Record record = spec.initial ? std::move(*spec.initial) : Record(*spec.layout);
    const SharedWireRecord will = spec.will ? encode(*spec.will) : nullptr;
    if (!state->publish(engineOf(engine).calls(), encode(record), will, *reason))
        return nullptr;
    engineOf(engine).add(state);
    return std::make_unique<BusPublication>(std::move(state), name, std::move(record));
}

} // namespace statebus
