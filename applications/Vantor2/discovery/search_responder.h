// Answers SSDP searches at once. GSSDP waits a random time of up to MX seconds (even 120) before it
// answers; controllers show what they have found after one.
//
// Used by Discovery. Main thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "discovery/answer_budget.h"
#include "discovery/network_place.h"

namespace vantor {

/// What is announced: a search target and the unique name that goes with it.
struct Announcement {
    std::string target;
    std::string usn;
};

/// The root device, the device itself, its type and its services.
std::vector<Announcement> announcementsOf(const std::string& uuid, const std::string& deviceType,
                                          const std::vector<std::string>& serviceTypes);

/// Those that a search target asks for.
std::vector<Announcement> matching(const std::vector<Announcement>& announcements,
                                   const std::string& searchTarget);

class SearchResponder {
public:
    /// `place` is where answers come from.
    SearchResponder(const NetworkPlace& place, std::vector<Announcement> announcements,
                    std::string location, std::string server, unsigned maxAge);
    ~SearchResponder();
    SearchResponder(const SearchResponder&) = delete;
    SearchResponder& operator=(const SearchResponder&) = delete;

    bool usable() const { return socket_ >= 0; }
    /// Answers a search for `searchTarget` that came from there, unless too many came lately.
    void answer(const std::string& searchTarget, const std::string& host, std::uint16_t port);

private:
    std::string message(const Announcement& announcement) const;

    std::vector<Announcement> announcements_;
    std::string location_;
    std::string server_;
    unsigned maxAge_;
    std::string interface_;
    int socket_ = -1;
    AnswerBudget budget_;
};

} // namespace vantor
