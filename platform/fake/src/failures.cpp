#include "fake/failures.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>

namespace fake {

namespace {

constexpr int kForEver = -1;

struct Plan {
    int skip = 0;
    int times = 0; ///< kForEver: no end
};

std::mutex gMutex;

std::map<Failable, Plan>& plans() {
    static auto* const all = new std::map<Failable, Plan>;
    return *all;
}

} // namespace

void failNext(Failable call, int times, int skip) {
    const std::lock_guard<std::mutex> lock(gMutex);
    plans()[call] = {skip, times};
}

void failAlways(Failable call) {
    failNext(call, kForEver);
}

void clearFailures() {
    const std::lock_guard<std::mutex> lock(gMutex);
    plans().clear();
}

bool mustFail(Failable call) {
    const std::lock_guard<std::mutex> lock(gMutex);
    const auto found = plans().find(call);
    if (found == plans().end())
        return false;
    Plan& plan = found->second;
    if (plan.skip > 0) {
        --plan.skip;
        return false;
    }
    if (plan.times == kForEver)
        return true;
    if (plan.times == 0)
        return false;
    --plan.times;
    return true;
}

void stopTest(const std::string& reason) {
    std::fflush(stdout);
    std::fprintf(stderr, "fake platform: %s\n", reason.c_str());
    std::fflush(stderr);
    std::abort();
}

} // namespace fake
