#include "gena/event_publisher.h"

#include <algorithm>
#include <charconv>

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
    std::uint32_t sequence = 0;
    TimePoint expiry;
    TimePoint quietUntil; // no further message before this time
    bool begun = false;   // the initial event was sent
    bool busy = false;    // a message is on its way
    unsigned failures = 0;
    EventState told;
};

bool SubscriptionQuota::take(const std::string& host) {
    const auto found = hosts_.find(host);
    if (taken_ >= total_ || (found != hosts_.end() && found->second >= perHost_)) {
        return false;
    }
    ++hosts_[host];
    ++taken_;
    return true;
}

void SubscriptionQuota::giveBack(const std::string& host) {
    const auto found = hosts_.find(host);
    if (found != hosts_.end()) {
        --taken_;
        if (--found->second == 0) {
            hosts_.erase(found);
        }
    }
}

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
    if (!quota_.take(request.peerAddress)) {
        logStranger("too many subscriptions, one refused from " + request.peerAddress);
        return refusal(503);
    }
    auto subscription = std::make_unique<Subscription>();
    subscription->sid = newSid();
    subscription->peer = {request.peerAddress, request.userAgent};
    subscription->callbacks = std::move(callbacks);
    Subscription& entry = *subscription;
    subscriptions_[entry.sid] = std::move(subscription);

    HttpReply reply = accepted(entry, request);
    // The subscriber must know its SID before the first event names it.
    reply.afterwards = [this, alive = alive_, sid = entry.sid] {
        if (*alive) {
            begin(sid);
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
    EventState now = source_.state(subscription.peer);
    const EventState all = now;
    send(subscription, std::move(now), all);
}

void EventPublisher::send(Subscription& subscription, EventState now, const EventState& changed) {
    subscription.told = std::move(now);
    subscription.busy = true;
    subscription.quietUntil = Clock::now() + source_.interval;
    Notification notification;
    notification.url = subscription.callbacks.front();
    notification.sid = subscription.sid;
    notification.sequence = subscription.sequence;
    notification.body = writePropertySet(source_.properties(changed));
    // 0 is the initial event's alone.
    subscription.sequence = subscription.sequence == UINT32_MAX ? 1 : subscription.sequence + 1;
    sender_.send(notification, [this, alive = alive_, sid = subscription.sid](unsigned status) {
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
    subscription.busy = false;
    subscription.failures = status == 0 ? subscription.failures + 1 : 0;
    if (status == 412 || subscription.failures >= kFailuresUntilRemoval) {
        logStranger("subscriber " + subscription.peer.address + " dropped");
        remove(sid);
        return;
    }
    if (status == 0) {
        std::rotate(subscription.callbacks.begin(), subscription.callbacks.begin() + 1,
                    subscription.callbacks.end());
    }
    flush();
}

void EventPublisher::stateChanged() {
    flush();
}

void EventPublisher::flush() {
    const TimePoint now = Clock::now();
    TimePoint next = TimePoint::max();
    for (const auto& entry : subscriptions_) {
        Subscription& subscription = *entry.second;
        if (!subscription.begun || subscription.busy) {
            continue; // begin or the answer comes here again
        }
        EventState state = source_.state(subscription.peer);
        const EventState changed = difference(subscription.told, state);
        if (changed.empty()) {
            continue;
        }
        if (subscription.quietUntil > now) {
            next = std::min(next, subscription.quietUntil);
            continue;
        }
        send(subscription, std::move(state), changed);
    }
    if (next != TimePoint::max()) {
        moderation_.start(std::chrono::ceil<std::chrono::milliseconds>(next - now));
    }
}

void EventPublisher::remove(const std::string& sid) {
    const auto found = subscriptions_.find(sid);
    if (found != subscriptions_.end()) {
        quota_.giveBack(found->second->peer.address);
        subscriptions_.erase(found);
    }
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
