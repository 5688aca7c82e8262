#include "statebus/publisher.h"

#include "bus_state.h"
#include "fake/failures.h"

namespace {

using fake::bus;

class FakePublication : public statebus::Publication {
public:
    explicit FakePublication(fake::InstancePtr instance) : instance_(std::move(instance)) {}

    ~FakePublication() override {
        {
            const std::lock_guard<std::mutex> lock(bus().lock);
            fake::announceGone(instance_, false);
            // Nobody asks a publisher that is gone.
            instance_->onCommand = nullptr;
            instance_->onWrite = nullptr;
        }
        fake::pump();
    }

    void change(const std::function<void(statebus::Record&)>& edit) override {
        {
            const std::lock_guard<std::mutex> order(edits_);
            statebus::Record record = snapshot();
            edit(record);
            const std::lock_guard<std::mutex> lock(bus().lock);
            // A publisher that vanished speaks to nobody any more.
            if (instance_->alive) {
                instance_->record = std::move(record);
                fake::announceChanged(instance_);
            }
        }
        fake::pump();
    }

    statebus::Record snapshot() const override {
        const std::lock_guard<std::mutex> lock(bus().lock);
        return *instance_->record;
    }

    void setWill(const statebus::Record& will) override {
        const std::lock_guard<std::mutex> lock(bus().lock);
        instance_->will = will;
    }

private:
    std::mutex edits_; ///< one change at a time
    fake::InstancePtr instance_;
};

} // namespace

namespace statebus {

std::unique_ptr<Publication> publish(zeMultiMBusEngine& engine, PublicationSpec spec,
                                     std::string* error) {
    auto instance = std::make_shared<fake::Instance>();
    std::string reason;
    {
        const std::lock_guard<std::mutex> lock(bus().lock);
        instance->typeName = spec.layout->mTypeName;
        instance->fullName = fake::fullNameOf(instance->typeName, spec.instance);
        if (!engine.data()->started)
            reason = "the engine is not running";
        else if (fake::findInstance(instance->fullName) != nullptr)
            reason = instance->fullName + " exists already";
        if (reason.empty()) {
            instance->record = spec.initial ? std::move(*spec.initial) : Record(*spec.layout);
            instance->serial = 1;
            instance->will = std::move(spec.will);
            instance->engine = &engine;
            instance->argumentLayouts = std::move(spec.argumentLayouts);
            instance->onCommand = std::move(spec.onCommand);
            instance->onWrite = std::move(spec.onWrite);
            bus().instances.push_back(instance);
            fake::announceAppeared(instance);
        }
    }
    if (!reason.empty()) {
        if (error != nullptr)
            *error = reason;
        return nullptr;
    }
    auto publication = std::make_unique<FakePublication>(std::move(instance));
    fake::pump();
    return publication;
}

void setConnectionListener(zeMultiMBusEngine& engine,
                           std::function<void(bool connected)> listener) {
    const std::lock_guard<std::mutex> lock(bus().lock);
    engine.data()->connectionListener = std::move(listener);
}

} // namespace statebus
