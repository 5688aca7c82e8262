#include "gena/event_publisher.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "base/stranger_log.h"
#include "base/xml.h"

namespace vantor {

namespace {

using Clock = std::chrono::steady_clock;

// DLNA's time, for subscribers that name none; and the bounds for those that do. A subscriber that
// vanished without a word is kept that long at most.
constexpr std::uint32_t kUsualSeconds = 300;
constexpr std::uint32_t kLeastSeconds = 60;
constexpr std::uint32_t kMostSeconds = 1800;
constexpr unsigned kFailuresUntilRemoval = 3;
constexpr std::size_t kMostCallbacks = 4;
// Some controllers drop an event that reaches them before they have looked at the answer to their
// subscription, which had left before.
constexpr std::chrono::milliseconds kFirstEventDelay{50};

HttpReply refusal(unsigned status) {
    HttpReply reply;
    reply.status = status;
    return reply;
}

EventState difference(const EventState& before, const EventState& now) {
    EventState changed;
    for (std::size_t row = 0; row < now.size(); ++row) {
        if (row >= before.size() || before[row] != now[row]) {
            changed.push_back(now[row]);
        }
    }
    return changed;
}

std::string newSid() {
    const GText uuid(g_uuid_string_random());
    return std::string("uuid:") + uuid.get();
}

} // namespace

struct EventPublisher::Subscription {
    std::string sid;
    EventPeer peer;
    std::vector<std::string> callbacks; // tried in turn, the present one first
    SubscriptionQuota::Place place;
    Timer first;                // until the initial event may leave
    std::uint32_t sequence = 0; // of the present message
    std::shared_ptr<const std::string> body;
    std::size_t addressesTried = 0;
    std::unique_ptr<NotifySender::Delivery> delivery;
    TimePoint expiry;
    TimePoint quietUntil;               // no further message before this time
    std::optional<TimePoint> heldSince; // the first passing change that it was not told of
    bool begun = false;                 // the initial event was sent
    bool busy = false;                  // a message is on its way
    unsigned failures = 0;
    std::shared_ptr<const EventState> told;

    explicit Subscription(std::function<void()> begin) : first(std::move(begin)) {}
};

struct EventPublisher::Round {
    TimePoint now = Clock::now();
    std::map<std::pair<std::string, std::string>, State> states;
    std::map<std::pair<State, State>, Body> bodies;
};

EventPublisher::EventPublisher(NotifySender& sender, SubscriptionQuota& quota, EventSource source)
    : sender_(sender),
      quota_(quota),
      source_(std::move(source)),
      moderation_([this] { flush(); }),
      expiry_([this] { expire(); }),
      alive_(std::make_shared<bool>(true)) {}

EventPublisher::~EventPublisher() {
    *alive_ = false;
    clear();
}

HttpReply EventPublisher::handle(const HttpRequest& request) {
    const auto sid = request.header("SID");
    const bool asksAnew = request.header("CALLBACK") || request.header("NT");
    if (sid && asksAnew) {
        return refusal(400);
    }
    if (request.method == "UNSUBSCRIBE") {
        return unsubscribe(request);
    }
    return sid ? renew(request, *sid) : subscribe(request);
}

HttpReply EventPublisher::subscribe(const HttpRequest& request) {
    if (request.header("NT").value_or("") != "upnp:event") {
        return refusal(412);
    }
    std::vector<std::string> callbacks = parseCallbacks(request.header("CALLBACK").value_or(""));
    const bool allowed = std::all_of(callbacks.begin(), callbacks.end(), [&](const auto& url) {
        return isCallbackAllowed(url, request.peerAddress);
    });
    if (callbacks.empty() || callbacks.size() > kMostCallbacks || !allowed) {
        logStranger("subscription from " + request.peerAddress + " refused: CALLBACK");
        return refusal(412);
    }
    const std::string sid = newSid();
    SubscriptionQuota::Place place =
        quota_.take(request.peerAddress, [this, alive = alive_, sid, host = request.peerAddress] {
            if (*alive) {
                logStranger("too many subscriptions, the oldest of " + host + " has ended");
                remove(sid);
            }
        });
    if (!place) {
        logStranger("too many subscriptions, one refused from " + request.peerAddress);
        return refusal(503);
    }
    auto subscription = std::make_unique<Subscription>([this, sid] { begin(sid); });
    subscription->sid = sid;
    subscription->place = std::move(place);
    subscription->peer = {request.peerAddress, request.userAgent};
    subscription->callbacks = std::move(callbacks);
    Subscription& entry = *subscription;
    subscriptions_[entry.sid] = std::move(subscription);

    HttpReply reply = accepted(entry, request);
    // The subscriber must know its SID before the first event names it.
    reply.afterwards = [this, alive = alive_, sid] {
        const auto found = *alive ? subscriptions_.find(sid) : subscriptions_.end();
        if (*alive && found != subscriptions_.end()) {
            found->second->first.start(kFirstEventDelay);
        }
    };
    return reply;
}

HttpReply EventPublisher::renew(const HttpRequest& request, const std::string& sid) {
    const auto found = subscriptions_.find(sid);
    if (found == subscriptions_.end()) {
        return refusal(412);
    }
    return accepted(*found->second, request);
}

HttpReply EventPublisher::accepted(Subscription& subscription, const HttpRequest& request) {
    const std::uint32_t seconds = grantedSeconds(request.header("TIMEOUT").value_or(""));
    subscription.expiry = Clock::now() + std::chrono::seconds(seconds);
    armExpiry();
    HttpReply reply;
    reply.headers.emplace_back("SID", subscription.sid);
    reply.headers.emplace_back("Timeout", "Second-" + std::to_string(seconds));
    return reply;
}

HttpReply EventPublisher::unsubscribe(const HttpRequest& request) {
    const std::string sid = request.header("SID").value_or("");
    if (subscriptions_.find(sid) == subscriptions_.end()) {
        return refusal(412);
    }
    remove(sid);
    return HttpReply();
}

void EventPublisher::begin(const std::string& sid) {
    const auto found = subscriptions_.find(sid);
    if (found == subscriptions_.end()) {
        return;
    }
    Subscription& subscription = *found->second;
    subscription.begun = true;
    Round round;
    State now = stateFor(round, subscription.peer);
    Body body = firstBody(now);
    send(subscription, std::move(now), std::move(body));
}

// One for all who are told the same: it waits with each that does not read.
EventPublisher::Body EventPublisher::firstBody(const State& state) {
    Body body = firstBodyOf_.lock() == state ? firstBody_.lock() : nullptr;
    if (!body) {
        body = std::make_shared<const std::string>(writePropertySet(source_.properties(*state)));
        firstBody_ = body;
        firstBodyOf_ = state;
    }
    return body;
}

EventPublisher::State EventPublisher::stateFor(Round& round, const EventPeer& peer) {
    State& state = round.states[{peer.address, peer.userAgent}];
    if (!state) {
        EventState now = source_.state(peer);
        state = recent_.lock();
        if (!state || *state != now) {
            state = std::make_shared<const EventState>(std::move(now));
            recent_ = state;
        }
    }
    return state;
}

void EventPublisher::send(Subscription& subscription, State now, Body body) {
    // 0 is the initial event's alone.
    if (subscription.told) {
        subscription.sequence = subscription.sequence == UINT32_MAX ? 1 : subscription.sequence + 1;
    }
    subscription.told = std::move(now);
    subscription.body = std::move(body);
    subscription.addressesTried = 0;
    subscription.quietUntil = Clock::now() + source_.interval;
    subscription.heldSince.reset();
    deliver(subscription);
}

void EventPublisher::deliver(Subscription& subscription) {
    ++subscription.addressesTried;
    subscription.busy = true;
    Notification notification;
    notification.url = subscription.callbacks.front();
    notification.sid = subscription.sid;
    notification.sequence = subscription.sequence;
    notification.body = subscription.body;
    subscription.delivery =
        sender_.send(notification, [this, alive = alive_, sid = subscription.sid,
                                    place = subscription.place](unsigned status) {
            if (*alive) {
                answered(sid, status);
            }
        });
}

void EventPublisher::answered(const std::string& sid, unsigned status) {
    const auto found = subscriptions_.find(sid);
    if (found == subscriptions_.end()) {
        return;
    }
    Subscription& subscription = *found->second;
    if (status == 0) {
        std::rotate(subscription.callbacks.begin(), subscription.callbacks.begin() + 1,
                    subscription.callbacks.end());
        if (subscription.addressesTried < subscription.callbacks.size()) {
            deliver(subscription);
            return;
        }
    }
    subscription.busy = false;
    subscription.body.reset();
    subscription.failures = status == 0 ? subscription.failures + 1 : 0;
    if (status == 412 || subscription.failures >= kFailuresUntilRemoval) {
        logStranger("subscriber " + subscription.peer.address + " dropped");
        remove(sid);
        return;
    }
    Round round;
    flush(round, subscription);
}

void EventPublisher::stateChanged() {
    flush();
}

void EventPublisher::flush() {
    Round round;
    for (const auto& entry : subscriptions_) {
        flush(round, *entry.second);
    }
}

// Tells one subscriber what it does not know yet, now or when its time has come.
void EventPublisher::flush(Round& round, Subscription& subscription) {
    if (!subscription.begun || subscription.busy) {
        return; // begin or the answer comes here again
    }
    State state = stateFor(round, subscription.peer);
    if (state == subscription.told) {
        return;
    }
    const EventState changed = difference(*subscription.told, *state);
    if (changed.empty()) {
        subscription.heldSince.reset();
        return;
    }
    const TimePoint due = dueTime(subscription, round.now, changed, *state);
    if (due > round.now) {
        armModeration(due);
        return;
    }
    Body& body = round.bodies[{subscription.told, state}];
    if (!body) {
        body = std::make_shared<const std::string>(writePropertySet(source_.properties(changed)));
    }
    send(subscription, std::move(state), body);
}

// When a subscriber may be told of a change that it does not know yet.
EventPublisher::TimePoint EventPublisher::dueTime(Subscription& subscription, TimePoint now,
                                                  const EventState& changed,
                                                  const EventState& state) const {
    if (!source_.isPassing || !source_.isPassing(changed, state)) {
        return subscription.quietUntil;
    }
    if (!subscription.heldSince) {
        subscription.heldSince = now;
    }
    return std::max(subscription.quietUntil, *subscription.heldSince + source_.hold);
}

// One timer for all, at the nearest time.
void EventPublisher::armModeration(TimePoint when) {
    if (moderation_.running() && moderationAt_ <= when) {
        return;
    }
    moderationAt_ = when;
    moderation_.start(std::chrono::ceil<std::chrono::milliseconds>(when - Clock::now()));
}

void EventPublisher::remove(const std::string& sid) {
    // Gives up a message that is on its way, too.
    subscriptions_.erase(sid);
}

void EventPublisher::clear() {
    while (!subscriptions_.empty()) {
        remove(std::string(subscriptions_.begin()->first));
    }
    moderation_.stop();
    expiry_.stop();
}

void EventPublisher::expire() {
    const TimePoint now = Clock::now();
    std::vector<std::string> ended;
    for (const auto& entry : subscriptions_) {
        if (entry.second->expiry <= now) {
            ended.push_back(entry.first);
        }
    }
    for (const std::string& sid : ended) {
        remove(sid);
    }
    armExpiry();
}

void EventPublisher::armExpiry() {
    TimePoint nearest = TimePoint::max();
    for (const auto& entry : subscriptions_) {
        nearest = std::min(nearest, entry.second->expiry);
    }
    if (nearest != TimePoint::max()) {
        expiry_.start(std::chrono::ceil<std::chrono::milliseconds>(nearest - Clock::now()));
    }
}

std::vector<std::string> parseCallbacks(const std::string& header) {
    std::vector<std::string> callbacks;
    std::size_t end = 0;
    for (std::size_t start = header.find('<'); start != std::string::npos;
         start = header.find('<', end)) {
        end = header.find('>', start);
        if (end == std::string::npos) {
            return {};
        }
        callbacks.push_back(header.substr(start + 1, end - start - 1));
    }
    return callbacks;
}

std::uint32_t grantedSeconds(const std::string& header) {
    constexpr std::string_view prefix = "Second-";
    if (g_ascii_strncasecmp(header.c_str(), prefix.data(), prefix.size()) != 0) {
        return kUsualSeconds;
    }
    std::uint32_t seconds = 0;
    const char* end = header.data() + header.size();
    const auto result = std::from_chars(header.data() + prefix.size(), end, seconds);
    if (result.ec == std::errc::result_out_of_range) {
        return kMostSeconds;
    }
    if (result.ec != std::errc() || result.ptr != end) {
        return kUsualSeconds;
    }
    return std::clamp(seconds, kLeastSeconds, kMostSeconds);
}

std::string writePropertySet(const EventState& properties) {
    std::string out = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                      "<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">";
    for (const auto& property : properties) {
        out.append("<e:property><").append(property.first).append(">");
        out.append(escapeXml(property.second));
        out.append("</").append(property.first).append("></e:property>");
    }
    out.append("</e:propertyset>\n");
    return out;
}

} // namespace vantor
