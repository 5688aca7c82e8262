// General Event Notification Architecture for one service: who is subscribed, what each subscriber
// was told last, and when it may be told more.
//
// The publisher knows nothing of the service: it asks for the evented state as a subscriber may see
// it and sends what differs from the last message. So changes while a message is on its way, or
// within the moderation interval, merge by themselves. Main thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/glib_handles.h"
#include "gena/notify_sender.h"
#include "gena/subscription_quota.h"
#include "http/http_server.h"

namespace vantor {

/// Names and values, always the same names in the same order.
using EventState = std::vector<std::pair<std::string, std::string>>;

struct EventPeer {
    std::string address;
    std::string userAgent;
};

struct EventSource {
    /// The whole evented state as this subscriber may see it.
    std::function<EventState(const EventPeer&)> state;
    /// The properties that carry a change (or, at first, the whole state).
    std::function<EventState(const EventState& changed)> properties;
    /// The shortest time between two messages to a subscriber; 0: none.
    std::chrono::milliseconds interval{0};
    /// Whether this change of the state to `now` will be followed by another one at once, with
    /// which it may be told; null: never. Not for longer than `hold`, which is within `interval`.
    std::function<bool(const EventState& changed, const EventState& now)> isPassing = nullptr;
    std::chrono::milliseconds hold{0};
};

class EventPublisher {
public:
    EventPublisher(NotifySender& sender, SubscriptionQuota& quota, EventSource source);
    ~EventPublisher();
    EventPublisher(const EventPublisher&) = delete;
    EventPublisher& operator=(const EventPublisher&) = delete;

    /// SUBSCRIBE and UNSUBSCRIBE.
    HttpReply handle(const HttpRequest& request);

    /// Something that `state` reports may have changed.
    void stateChanged();

    /// Forgets every subscriber.
    void clear();

    std::size_t subscriberCount() const { return subscriptions_.size(); }

private:
    struct Subscription;
    using TimePoint = std::chrono::steady_clock::time_point;

    HttpReply subscribe(const HttpRequest& request);
    HttpReply renew(const HttpRequest& request, const std::string& sid);
    HttpReply unsubscribe(const HttpRequest& request);
    HttpReply accepted(Subscription& subscription, const HttpRequest& request);

    void begin(const std::string& sid);
    using State = std::shared_ptr<const EventState>;
    using Body = std::shared_ptr<const std::string>;
    struct Round; // what one look at the state has computed already
    State stateFor(Round& round, const EventPeer& peer);
    Body firstBody(const State& state);
    void send(Subscription& subscription, State now, Body body);
    void deliver(Subscription& subscription);
    void answered(const std::string& sid, unsigned status);
    void remove(const std::string& sid);
    void flush();
    void flush(Round& round, Subscription& subscription);
    TimePoint dueTime(Subscription& subscription, TimePoint now, const EventState& changed,
                      const EventState& state) const;
    void armModeration(TimePoint when);
    void expire();
    void armExpiry();

    NotifySender& sender_;
    SubscriptionQuota& quota_;
    EventSource source_;
    std::map<std::string, std::unique_ptr<Subscription>> subscriptions_;
    std::weak_ptr<const EventState> recent_; // most subscribers see the same state
    std::weak_ptr<const std::string> firstBody_;
    std::weak_ptr<const EventState> firstBodyOf_;
    Timer moderation_;
    TimePoint moderationAt_;
    Timer expiry_;
    std::shared_ptr<bool> alive_; // replies that are still being written may outlive this
};

/// The addresses of a CALLBACK header: "<http://..><http://..>".
std::vector<std::string> parseCallbacks(const std::string& header);
/// The seconds that a TIMEOUT header is granted: within bounds, and a usual time when it is absent,
/// infinite or not readable.
std::uint32_t grantedSeconds(const std::string& header);

std::string writePropertySet(const EventState& properties);

} // namespace vantor
