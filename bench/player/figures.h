// Figures of several rounds and the table that they become.
#pragma once

#include <string>
#include <vector>

namespace bench {

class Figures {
public:
    void add(double value) { values_.push_back(value); }
    double median() const;
    /// "median (min..max)".
    std::string text(int decimals) const;

private:
    std::vector<double> values_;
};

/// What a row is held to.
struct Limit {
    enum Kind { kNone, kRatio, kMost } kind = kNone;
    double value = 0;
};

/// A markdown table, one line a measurement.
class Table {
public:
    /// `bare` may be empty: nothing to compare with; the limit is then of `ours` alone.
    void add(const std::string& what, int decimals, const Figures& bare, const Figures& ours,
             Limit limit);
    const std::string& text() const { return text_; }
    bool allHold() const { return allHold_; }

private:
    std::string text_ = "| | bare playbin3 | player | ratio | limit | |\n"
                        "|---|---|---|---|---|---|\n";
    bool allHold_ = true;
};

/// Replaces what stands between the two marks in a document. Throws std::runtime_error.
void rewrite(const std::string& document, const std::string& text);

} // namespace bench
