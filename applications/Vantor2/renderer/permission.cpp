#include "renderer/permission.h"

#include <algorithm>
#include <utility>

#include "base/authority.h"

namespace vantor {

Permission::Permission(const RendererClock& clock, std::function<void()> changed)
    : clock_(clock), changed_(std::move(changed)) {}

void Permission::onOutcome(ControlKind kind, OutcomeHandler handler) {
    handlers_[kind] = std::move(handler);
}

void Permission::onNewRules(ControlKind kind, std::function<void()> handler) {
    newRulesHandlers_[kind] = std::move(handler);
}

Permission::Verdict Permission::check(ControlKind kind, const Controller& controller) const {
    switch (policies_.at(kind)) {
    case ControlPolicy::everybody:
        return Verdict::admitted;
    case ControlPolicy::nobody:
        return Verdict::refused;
    default:
        break;
    }
    const bool sound = kind == ControlKind::sound;
    const bool known = (admitted_ == controller && (!sound || soundToo_)) ||
                       (sound && soundAdmitted_ == controller);
    return known ? Verdict::admitted : Verdict::mustAsk;
}

bool Permission::admitsAddress(ControlKind kind, const std::string& address) const {
    return admitted_ && admitted_->address == address &&
           check(kind, *admitted_) == Verdict::admitted;
}

void Permission::noteAdmitted(const Controller& controller) {
    if (admitted_ != controller) {
        admit(controller);
    }
}

void Permission::admit(const Controller& controller) {
    admitted_ = controller;
    soundToo_ = true;
}

void Permission::describe(std::uint32_t id, const std::string& mimeType, const std::string& title) {
    for (ControlRequest& request : requests_) {
        const bool other = request.mediaMimeType != mimeType || request.mediaTitle != title;
        if (request.id == id && other) {
            request.mediaMimeType = mimeType;
            request.mediaTitle = title;
            changed_();
            return;
        }
    }
}

std::uint32_t Permission::file(ControlRequest request) {
    if (const ControlRequest* victim = oneTooMany(request.controller.address)) {
        settle(victim->id, Outcome::denied);
    }
    request.id = nextId_;
    nextId_ = nextId_ == UINT32_MAX ? 1 : nextId_ + 1;
    request.state = RequestState::requested;
    request.deadline = clock_.now() + kPatience;
    requests_.push_back(std::move(request));
    const std::uint32_t id = requests_.back().id;
    changed_();
    return id;
}

const ControlRequest* Permission::oneTooMany(const std::string& address) const {
    std::map<std::string, std::size_t> hosts;
    std::map<std::string, std::size_t> networks;
    for (const ControlRequest& request : requests_) {
        ++hosts[request.controller.address];
        ++networks[networkOf(request.controller.address)];
    }
    const bool overShare = hosts[address] >= kMostRequestsPerAddress;
    if (!overShare && requests_.size() < kMostRequests) {
        return nullptr;
    }
    const auto holding = [&](const ControlRequest& request) {
        const std::string& owner = request.controller.address;
        return std::pair(networks[networkOf(owner)], hosts[owner]);
    };
    const ControlRequest* victim = nullptr;
    for (const ControlRequest& request : requests_) { // oldest first
        const bool better = victim == nullptr || holding(request) > holding(*victim);
        if (overShare ? request.controller.address == address && victim == nullptr : better) {
            victim = &request;
        }
    }
    return victim;
}

const ControlRequest* Permission::findOf(ControlKind kind, const Controller& controller) const {
    for (const ControlRequest& request : requests_) {
        if (request.kind == kind && request.controller == controller) {
            return &request;
        }
    }
    return nullptr;
}

void Permission::withdraw(std::uint32_t id) {
    settle(id, Outcome::withdrawn);
}

bool Permission::allow(std::uint32_t id) {
    const auto found = std::find_if(requests_.begin(), requests_.end(),
                                    [&](const auto& request) { return request.id == id; });
    if (found == requests_.end()) {
        return false;
    }
    if (found->kind == ControlKind::player) {
        admit(found->controller);
    } else {
        soundAdmitted_ = found->controller;
    }
    settle(id, Outcome::allowed);
    return true;
}

bool Permission::deny(std::uint32_t id) {
    const std::size_t before = requests_.size();
    settle(id, Outcome::denied);
    return requests_.size() < before;
}

bool Permission::postpone(std::uint32_t id) {
    for (ControlRequest& request : requests_) {
        if (request.id == id) {
            request.state = RequestState::postponed;
            changed_();
            return true;
        }
    }
    return false;
}

bool Permission::setPolicy(ControlKind kind, long long policy) {
    if (policy < static_cast<int>(ControlPolicy::everybody) ||
        policy > static_cast<int>(ControlPolicy::ask)) {
        return false;
    }
    const auto value = static_cast<ControlPolicy>(policy);
    const bool isNew = std::exchange(policies_[kind], value) != value;
    if (value == ControlPolicy::nobody && kind == ControlKind::player) {
        admitted_.reset();
    } else if (value == ControlPolicy::nobody) {
        soundAdmitted_.reset();
        soundToo_ = false;
    }
    if (isNew) {
        tellNewRules(kind);
    }
    if (value == ControlPolicy::nobody) {
        settleAll(kind, Outcome::denied);
    } else if (value == ControlPolicy::everybody) {
        settleAll(kind, Outcome::allowed);
    }
    changed_();
    return true;
}

void Permission::closeAll() {
    admitted_.reset();
    soundAdmitted_.reset();
    settleAll(ControlKind::player, Outcome::denied);
    settleAll(ControlKind::sound, Outcome::denied);
    tellNewRules(ControlKind::player);
    tellNewRules(ControlKind::sound);
}

void Permission::tellNewRules(ControlKind kind) {
    const auto handler = newRulesHandlers_.find(kind);
    if (handler != newRulesHandlers_.end()) {
        handler->second();
    }
}

std::optional<TimePoint> Permission::deadline() const {
    // In the order in which they were filed, so the first one is due first.
    return requests_.empty() ? std::nullopt : std::optional<TimePoint>(requests_.front().deadline);
}

void Permission::checkDeadlines() {
    while (!requests_.empty() && requests_.front().deadline <= clock_.now()) {
        settle(requests_.front().id, Outcome::expired);
    }
}

void Permission::settle(std::uint32_t id, Outcome outcome) {
    const auto found = std::find_if(requests_.begin(), requests_.end(),
                                    [&](const auto& request) { return request.id == id; });
    if (found == requests_.end()) {
        return;
    }
    const ControlRequest request = std::move(*found);
    requests_.erase(found);
    changed_();
    const auto handler = handlers_.find(request.kind);
    if (handler != handlers_.end()) {
        handler->second(request, outcome);
    }
}

void Permission::settleAll(ControlKind kind, Outcome outcome) {
    const auto isOfKind = [&](const ControlRequest& request) {
        return request.kind == kind;
    };
    for (auto found = std::find_if(requests_.begin(), requests_.end(), isOfKind);
         found != requests_.end();
         found = std::find_if(requests_.begin(), requests_.end(), isOfKind)) {
        settle(found->id, outcome);
    }
}

} // namespace vantor
