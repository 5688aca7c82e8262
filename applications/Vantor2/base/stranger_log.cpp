#include "base/stranger_log.h"

#include <algorithm>
#include <utility>

#include "base/log.h"

namespace vantor {

std::optional<std::size_t> LineBudget::take(TimePoint now) {
    const std::chrono::duration<double> passed = now - countedAt_.value_or(now);
    countedAt_ = now;
    allowance_ = std::min(kAtOnce, allowance_ + passed.count() * kPerSecond);
    if (allowance_ < 1) {
        ++leftOut_;
        return std::nullopt;
    }
    allowance_ -= 1;
    return std::exchange(leftOut_, 0);
}

void logStranger(const std::string& line) {
    static LineBudget budget;
    const auto leftOut = budget.take(std::chrono::steady_clock::now());
    if (!leftOut) {
        return;
    }
    if (*leftOut > 0) {
        logInfo(std::to_string(*leftOut) + " lines like the next one were left out");
    }
    logInfo(line);
}

} // namespace vantor
