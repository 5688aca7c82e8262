// Who may control this renderer: the viewer's policies, the controllers that were let in, and the
// requests that wait for the viewer.
//
// Nobody is kept waiting: a request is filed and answered later. The owners of what was asked for
// (transport, rendering) are told about the outcome. Main thread; time is given from outside.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <string>

#include "renderer/controller.h"
#include "renderer/ports.h"

namespace vantor {

enum class ControlKind { player, sound };

/// Values of the bus record.
enum class ControlPolicy : int { everybody = 0, nobody = 1, askToo = 2, ask = 3 };
enum class RequestState : int { requested = 3, postponed = 4 };

struct ControlRequest {
    ControlKind kind = ControlKind::player;
    std::uint32_t id = 0;
    Controller controller;
    RequestState state = RequestState::requested;
    std::string mediaUri;
    std::string mediaMimeType;
    std::string mediaTitle;
    TimePoint deadline;
};

enum class Outcome {
    allowed,
    denied,    ///< by the viewer, by the policy, or because too many are waiting
    expired,   ///< nobody answered in time
    withdrawn, ///< by the controller itself
};

class Permission {
public:
    static constexpr std::size_t kMostRequests = 16;
    /// Of one address: enough for the apps of one phone, too few to push out what others ask.
    static constexpr std::size_t kMostRequestsPerAddress = 4;
    static constexpr std::chrono::seconds kPatience{30};

    /// `changed` is called after every change of policies or requests.
    Permission(const RendererClock& clock, std::function<void()> changed);

    using OutcomeHandler = std::function<void(const ControlRequest&, Outcome)>;
    /// Who is told about the outcome of requests of a kind. The request is off the list by then.
    void onOutcome(ControlKind kind, OutcomeHandler handler);

    /// Who is told that a kind's rules are new: another policy, or nobody admitted any more. What
    /// is denied because of them is denied afterwards, except when the renderer leaves the network.
    void onNewRules(ControlKind kind, std::function<void()> handler);

    enum class Verdict { admitted, mustAsk, refused };
    Verdict check(ControlKind kind, const Controller& controller) const;
    /// Whether some program at the address is let in.
    bool admitsAddress(ControlKind kind, const std::string& address) const;
    /// A controller whose command went through because everybody's do is let in like one that the
    /// viewer allowed, so that it keeps control when the policy becomes "ask".
    void noteAdmitted(const Controller& controller);

    /// The number of the next request; before the first one.
    void countFrom(std::uint32_t id) { nextId_ = id; }

    /// Files a request. When too many wait, one is denied: the oldest of its own address when that
    /// has used up its share, else the oldest of the address that has most in the network
    /// (networkOf) that has most. Returns its id, never 0.
    std::uint32_t file(ControlRequest request);
    /// Says anew what is asked for; the rest of the request stays.
    void describe(std::uint32_t id, const std::string& mimeType, const std::string& title);
    const ControlRequest* findOf(ControlKind kind, const Controller& controller) const;
    void withdraw(std::uint32_t id);

    // The viewer's answers; false when no such request waits.
    bool allow(std::uint32_t id);
    bool deny(std::uint32_t id);
    bool postpone(std::uint32_t id);

    /// False for a number that is no policy. "Nobody" ends the admission and denies what waits;
    /// "everybody" allows what waits.
    bool setPolicy(ControlKind kind, long long policy);
    ControlPolicy policy(ControlKind kind) const { return policies_.at(kind); }

    /// The renderer leaves the network: nobody is admitted any more, what waits is denied.
    void closeAll();

    /// Oldest first.
    const std::list<ControlRequest>& requests() const { return requests_; }

    std::optional<TimePoint> deadline() const;
    void checkDeadlines();

private:
    const ControlRequest* oneTooMany(const std::string& address) const;
    void admit(const Controller& controller);
    void tellNewRules(ControlKind kind);
    void settle(std::uint32_t id, Outcome outcome);
    void settleAll(ControlKind kind, Outcome outcome);

    const RendererClock& clock_;
    std::function<void()> changed_;
    std::map<ControlKind, ControlPolicy> policies_{{ControlKind::player, ControlPolicy::ask},
                                                   {ControlKind::sound, ControlPolicy::everybody}};
    std::map<ControlKind, OutcomeHandler> handlers_;
    std::map<ControlKind, std::function<void()>> newRulesHandlers_;
    std::optional<Controller> admitted_;      // by the viewer, for the player and the sound
    bool soundToo_ = true;                    // false: admitted_ has lost the sound since
    std::optional<Controller> soundAdmitted_; // for the sound alone
    std::list<ControlRequest> requests_;
    std::uint32_t nextId_ = 1;
};

} // namespace vantor
