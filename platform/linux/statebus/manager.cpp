#include "statebus/manager_access.h"

#include <optional>
#include <string>

#include "statebus/engine.h"
#include "statebus/subscriptions.h"
#include "ze/zeConsole.h"
#include "ze/zeSBus.h"

struct zeSBusManager::Data {
    std::shared_ptr<statebus::Subscriptions> subscriptions;
};

namespace statebus {

Subscriptions& subscriptionsOf(const zeSBusManager& manager) {
    return *manager.data()->subscriptions;
}

} // namespace statebus

namespace {

std::string textOr(const char* text) {
    return text == nullptr ? "" : text;
}

std::optional<std::string> optionalText(const char* text) {
    if (text == nullptr)
        return std::nullopt;
    return std::string(text);
}

} // namespace

zeSBusManager::zeSBusManager()
    : mData(new Data{std::make_shared<statebus::Subscriptions>(*this)}) {}

zeSBusManager::~zeSBusManager() {
    mData->subscriptions->stop();
    delete mData;
}

void zeSBusManager::AttachEngine(zeMBusEngine* aEngine) {
    auto* const engine = dynamic_cast<zeMultiMBusEngine*>(aEngine);
    if (engine == nullptr) {
        zeConsole_Printf("statebus: a manager needs an engine of this platform\n");
        return;
    }
    mData->subscriptions->attach(statebus::engineOf(*engine).shared_from_this());
}

void zeSBusManager::Stop() {
    mData->subscriptions->stop();
}

bool zeSBusManager::RegisterRemoteSBusStateCallback(zeSBusRemoteStateCallback aCallback,
                                                    void* aUser) {
    return mData->subscriptions->setRemoteStateCallback(aCallback, aUser);
}

bool zeSBusManager::RegisterListeningSBusState(const char* aTypeName, const char*) {
    return aTypeName != nullptr && mData->subscriptions->listen(aTypeName);
}

bool zeSBusManager::RegisterToStateChange(const zeSBusStateTemplate* aTemplate,
                                          const char* aInstance, zeSBusStateChangeHandler aHandler,
                                          void* aUser) {
    return aTemplate != nullptr &&
           mData->subscriptions->add(*aTemplate, textOr(aInstance), aHandler, aUser);
}

bool zeSBusManager::UnregisterToStateChange(const zeSBusStateTemplate* aTemplate,
                                            const char* aInstance,
                                            zeSBusStateChangeHandler aHandler) {
    return aTemplate != nullptr &&
           mData->subscriptions->remove(*aTemplate, textOr(aInstance), aHandler);
}

const zeSBusStateSerializable* zeSBusManager::LockState(const char* aTypeName,
                                                        const char* aInstance) {
    if (aTypeName == nullptr)
        return nullptr;
    return mData->subscriptions->lock({aTypeName, textOr(aInstance)});
}

void zeSBusManager::UnlockState(const zeSBusStateSerializable* aState, bool) {
    if (aState != nullptr)
        mData->subscriptions->unlock(aState);
}

bool zeSBusManager::SetValue(const char* aTypeName, const char* aInstance, const char* aPath,
                             const char* aValue) {
    return aTypeName != nullptr && aPath != nullptr && aValue != nullptr &&
           mData->subscriptions->setValue(aTypeName, optionalText(aInstance), aPath, aValue);
}
