#include <algorithm>
#include <cmath>
#include <string>

#include "ze/zeTools.h"

namespace {

/// Beyond this a double has no fractional part left, and every integer below fits a long long.
constexpr double kLargestValue = 9007199254740992.0;
/// Larger denominators are not tried: a double has nothing more to tell, a caller would wait long.
constexpr long kLargestDenominator = 1000000;

} // namespace

int zeConvert_doubletofraction(double aValue, long aMaxDenominator, double aTolerance,
                               const char** aText) {
    if (aText == nullptr || !std::isfinite(aValue) || std::fabs(aValue) > kLargestValue)
        return -1;
    const long limit = std::min(aMaxDenominator, kLargestDenominator);
    for (long denominator = 1; denominator <= limit; ++denominator) {
        const double scaled = aValue * static_cast<double>(denominator);
        if (std::fabs(scaled) > kLargestValue)
            return -1;
        const long long numerator = std::llround(scaled);
        const double difference =
            std::fabs(static_cast<double>(numerator) / static_cast<double>(denominator) - aValue);
        if (!(difference <= aTolerance))
            continue;
        // The first denominator that fits is the smallest: the fraction is reduced.
        thread_local std::string text;
        text = std::to_string(numerator);
        if (denominator != 1)
            text += "/" + std::to_string(denominator);
        *aText = text.c_str();
        return 0;
    }
    return -1;
}
