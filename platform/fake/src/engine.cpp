#include "ze/zeMultiMBusEngine.h"

#include "bus_state.h"
#include "fake/failures.h"
#include "fake/journal.h"

namespace {

std::string nameOf(const zeMultiMBusEngine& engine) {
    return "engine" + std::to_string(engine.data()->number);
}

void record(const std::string& text) {
    fake::Journal::instance().add(fake::Kind::kEngine, text);
}

} // namespace

zeMultiMBusEngine::zeMultiMBusEngine(bool aShared) : mData(new Data) {
    const std::lock_guard<std::mutex> lock(fake::bus().lock);
    mData->number = ++fake::bus().enginesMade;
    fake::bus().engines.push_back(this);
    record(std::string("zeMultiMBusEngine(") + (aShared ? "true" : "false") +
           ") = " + nameOf(*this));
}

zeMultiMBusEngine::~zeMultiMBusEngine() {
    if (mData->opened)
        zeMultiMBusEngine::Stop();
    record("~" + nameOf(*this));
    {
        const std::lock_guard<std::mutex> lock(fake::bus().lock);
        fake::bus().engines.remove(this);
        for (zeSBusManager* manager : fake::bus().managers)
            if (manager->data()->engine == this)
                manager->data()->engine = nullptr;
    }
    delete mData;
}

int zeMultiMBusEngine::Open() {
    const std::lock_guard<std::mutex> lock(fake::bus().lock);
    const bool fails = fake::mustFail(fake::Failable::kEngineOpen);
    record(nameOf(*this) + ".Open() = " + (fails ? "1" : "0"));
    mData->opened = !fails;
    return fails ? 1 : 0;
}

int zeMultiMBusEngine::Start(int aThreads) {
    {
        const std::lock_guard<std::mutex> lock(fake::bus().lock);
        const bool fails = fake::mustFail(fake::Failable::kEngineStart) || !mData->opened;
        record(nameOf(*this) + ".Start(" + std::to_string(aThreads) + ") = " + (fails ? "1" : "0"));
        if (fails)
            return 1;
        if (!mData->started) {
            mData->started = true;
            // What was there before: told to this engine's managers only.
            for (zeSBusManager* manager : fake::bus().managers)
                if (manager->data()->engine == this && fake::isRunning(*manager))
                    fake::announceAllTo(*manager);
        }
    }
    fake::pump();
    return 0;
}

void zeMultiMBusEngine::Stop() {
    if (fake::insideHandler())
        fake::stopTest(nameOf(*this) + ".Stop() on the delivery thread");
    {
        const std::lock_guard<std::mutex> lock(fake::bus().lock);
        record(nameOf(*this) + ".Stop()");
        mData->opened = false;
        mData->started = false;
        // Whoever still publishes through this connection is lost with it.
        const std::list<fake::InstancePtr> instances = fake::bus().instances;
        for (const fake::InstancePtr& instance : instances)
            if (instance->engine == this)
                fake::announceGone(instance, true);
    }
    fake::waitForHandlers();
    fake::pump();
}
