#include <algorithm>
#include <cstring>

#include "bus_state.h"
#include "fake/failures.h"
#include "fake/journal.h"
#include "ze/zeSBus.h"

namespace {

using fake::Failable;
using fake::Kind;

std::string nameOf(const zeSBusManager& manager) {
    return "manager" + std::to_string(manager.data()->number);
}

void record(Kind kind, const std::string& text) {
    fake::Journal::instance().add(kind, text);
}

bool answer(const zeSBusManager& manager, const std::string& call, bool result) {
    record(Kind::kRegistration, nameOf(manager) + "." + call + (result ? " = true" : " = false"));
    return result;
}

fake::InstanceName nameFrom(const char* instance) {
    return instance == nullptr ? fake::InstanceName() : fake::InstanceName(instance);
}

std::string callText(const char* call, const zeSBusStateTemplate* layout, const char* instance) {
    return std::string(call) + "(" + layout->mName + ", " + fake::quoted(instance) + ")";
}

} // namespace

const char* zeSBusStateSerializable::GetFullName() const {
    // Without a member of its own this object is the record, whose first field is the handle.
    const fake::NameHandle* handle = nullptr;
    std::memcpy(&handle, this, sizeof handle);
    return handle == nullptr ? "" : handle->fullName.get();
}

zeSBusManager::zeSBusManager() : mData(new Data) {
    const std::lock_guard<std::mutex> lock(fake::bus().lock);
    mData->number = ++fake::bus().managersMade;
    fake::bus().managers.push_back(this);
    record(Kind::kManager, "zeSBusManager() = " + nameOf(*this));
}

zeSBusManager::~zeSBusManager() {
    if (!mData->stopped)
        zeSBusManager::Stop();
    record(Kind::kManager, "~" + nameOf(*this));
    {
        const std::lock_guard<std::mutex> lock(fake::bus().lock);
        fake::bus().managers.remove(this);
    }
    delete mData;
}

void zeSBusManager::AttachEngine(zeMBusEngine* aEngine) {
    const std::lock_guard<std::mutex> lock(fake::bus().lock);
    auto* engine = dynamic_cast<zeMultiMBusEngine*>(aEngine);
    if (engine == nullptr)
        fake::stopTest("AttachEngine with an engine of another platform");
    mData->engine = engine;
    record(Kind::kManager,
           nameOf(*this) + ".AttachEngine(engine" + std::to_string(engine->data()->number) + ")");
}

void zeSBusManager::Stop() {
    if (fake::insideHandler())
        fake::stopTest(nameOf(*this) + ".Stop() on the delivery thread");
    {
        const std::lock_guard<std::mutex> lock(fake::bus().lock);
        record(Kind::kManager, nameOf(*this) + ".Stop()");
        mData->stopped = true;
        mData->registrations.clear();
        mData->known.clear();
        const auto mine = [this](const fake::Event& event) {
            return event.manager == this;
        };
        for (std::deque<fake::Event>* queue : {&fake::bus().urgent, &fake::bus().queue})
            queue->erase(std::remove_if(queue->begin(), queue->end(), mine), queue->end());
    }
    fake::waitForHandlers();
}

bool zeSBusManager::RegisterRemoteSBusStateCallback(zeSBusRemoteStateCallback aCallback,
                                                    void* aUser) {
    const std::lock_guard<std::mutex> lock(fake::bus().lock);
    const bool stored = !fake::mustFail(Failable::kRegisterRemoteCallback);
    if (stored) {
        mData->callback = aCallback;
        mData->callbackUser = aUser;
    }
    return answer(*this, "RegisterRemoteSBusStateCallback()", stored);
}

bool zeSBusManager::RegisterListeningSBusState(const char* aTypeName, const char* aFilter) {
    bool stored = false;
    {
        const std::lock_guard<std::mutex> lock(fake::bus().lock);
        stored = !fake::mustFail(Failable::kRegisterListening) && aTypeName != nullptr;
        if (stored && mData->listening.insert(aTypeName).second && fake::isRunning(*this))
            fake::announceAllTo(*this, aTypeName);
        answer(*this,
               "RegisterListeningSBusState(" + fake::quoted(aTypeName) + ", " +
                   fake::quoted(aFilter) + ")",
               stored);
    }
    fake::pump();
    return stored;
}

bool zeSBusManager::RegisterToStateChange(const zeSBusStateTemplate* aTemplate,
                                          const char* aInstance, zeSBusStateChangeHandler aHandler,
                                          void* aUser) {
    bool stored = false;
    {
        const std::lock_guard<std::mutex> lock(fake::bus().lock);
        stored = !fake::mustFail(Failable::kRegisterToStateChange) && aHandler != nullptr &&
                 !mData->stopped;
        if (stored) {
            const std::string fullName =
                fake::fullNameOf(aTemplate->mTypeName, nameFrom(aInstance));
            auto& all = mData->registrations;
            const auto same = std::find_if(all.begin(), all.end(), [&](const auto& other) {
                return other.layout == aTemplate && other.fullName == fullName &&
                       other.handler == aHandler;
            });
            if (same == all.end())
                all.push_back({aTemplate, fullName, aHandler, aUser});
            else
                same->user = aUser;
            fake::bus().urgent.push_back({fake::Event::What::kFirst, this, aTemplate->mTypeName,
                                          fullName, nullptr, 0, false, aTemplate, aHandler});
        }
        answer(*this, callText("RegisterToStateChange", aTemplate, aInstance), stored);
    }
    fake::pump();
    return stored;
}

bool zeSBusManager::UnregisterToStateChange(const zeSBusStateTemplate* aTemplate,
                                            const char* aInstance,
                                            zeSBusStateChangeHandler aHandler) {
    const std::lock_guard<std::mutex> lock(fake::bus().lock);
    const std::string fullName = fake::fullNameOf(aTemplate->mTypeName, nameFrom(aInstance));
    bool done = false;
    if (!fake::mustFail(Failable::kUnregisterToStateChange)) {
        auto& all = mData->registrations;
        const auto rest = std::remove_if(all.begin(), all.end(), [&](const auto& other) {
            return other.layout == aTemplate && other.fullName == fullName &&
                   other.handler == aHandler;
        });
        done = rest != all.end();
        all.erase(rest, all.end());
    }
    return answer(*this, callText("UnregisterToStateChange", aTemplate, aInstance), done);
}

const zeSBusStateSerializable* zeSBusManager::LockState(const char* aTypeName,
                                                        const char* aInstance) {
    const std::lock_guard<std::mutex> lock(fake::bus().lock);
    const std::string fullName = fake::fullNameOf(aTypeName, nameFrom(aInstance));
    fake::DeliveredRecord* last = nullptr;
    for (fake::DeliveredRecord& delivered : mData->kept)
        if (delivered.fullName == fullName && !delivered.removed)
            last = &delivered;
    record(Kind::kManager, nameOf(*this) + ".LockState(" + fake::quoted(aTypeName) + ", " +
                               fake::quoted(aInstance) + ")" + (last == nullptr ? " = null" : ""));
    if (last == nullptr)
        return nullptr;
    ++last->locks;
    return static_cast<const zeSBusStateSerializable*>(last->record.data());
}

void zeSBusManager::UnlockState(const zeSBusStateSerializable* aState, bool aChanged) {
    const std::lock_guard<std::mutex> lock(fake::bus().lock);
    record(Kind::kManager, nameOf(*this) + ".UnlockState(" +
                               (aState == nullptr ? "null, " : "record, ") +
                               (aChanged ? "true)" : "false)"));
    for (fake::DeliveredRecord& delivered : mData->kept) {
        if (delivered.record.data() != aState)
            continue;
        if (delivered.locks == 0)
            fake::stopTest("UnlockState of a record that is not locked");
        --delivered.locks;
        return;
    }
    if (aState != nullptr)
        fake::stopTest("UnlockState of a record that does not exist");
}

bool zeSBusManager::SetValue(const char* aTypeName, const char* aInstance, const char* aPath,
                             const char* aValue) {
    return fake::sendWrite(*this, {aTypeName, nameFrom(aInstance), aPath == nullptr ? "" : aPath,
                                   aValue == nullptr ? "" : aValue, false});
}
