#include "ze/zeTools.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

#include "fake/failures.h"
#include "fake/journal.h"

namespace {

/// The fraction with the smallest denominator that is near enough, which is therefore reduced;
/// "" when there is none.
std::string fractionOf(double value, long maxDenominator, double tolerance) {
    if (!std::isfinite(value))
        return "";
    for (long denominator = 1; denominator <= maxDenominator; ++denominator) {
        const double numerator = std::round(value * static_cast<double>(denominator));
        if (std::abs(numerator) >= static_cast<double>(std::numeric_limits<long>::max()))
            return "";
        if (std::abs(numerator / static_cast<double>(denominator) - value) > tolerance)
            continue;
        const std::string text = std::to_string(static_cast<long>(numerator));
        return denominator == 1 ? text : text + "/" + std::to_string(denominator);
    }
    return "";
}

// Exactly as long as the text, so that an overread is seen.
thread_local std::unique_ptr<char[]> gFraction;

} // namespace

char* zeStrdup(const char* aText) {
    const bool fails = fake::mustFail(fake::Failable::kStrdup);
    fake::Journal::instance().add(fake::Kind::kAllocation, "zeStrdup(" + fake::quoted(aText) + ")" +
                                                               (fails ? " = null" : ""));
    if (fails || aText == nullptr)
        return nullptr;
    const std::size_t size = std::strlen(aText) + 1;
    void* copy = std::malloc(size);
    return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, aText, size));
}

int zeConvert_doubletofraction(double aValue, long aMaxDenominator, double aTolerance,
                               const char** aText) {
    const std::string fraction = fake::mustFail(fake::Failable::kFraction)
                                     ? ""
                                     : fractionOf(aValue, aMaxDenominator, aTolerance);
    char call[96];
    std::snprintf(call, sizeof call, "zeConvert_doubletofraction(%g, %ld, %g) = %s", aValue,
                  aMaxDenominator, aTolerance,
                  fraction.empty() ? "1" : fake::quoted(fraction).c_str());
    fake::Journal::instance().add(fake::Kind::kConversion, call);
    if (fraction.empty())
        return 1;
    gFraction = std::make_unique<char[]>(fraction.size() + 1);
    std::memcpy(gFraction.get(), fraction.c_str(), fraction.size() + 1);
    *aText = gFraction.get();
    return 0;
}
