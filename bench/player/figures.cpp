#include "figures.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace bench {
namespace {

constexpr char kBegin[] = "<!-- figures: written by player_bench -->\n";
constexpr char kEnd[] = "<!-- end of the figures -->";

std::string number(double value, int decimals) {
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

} // namespace

double Figures::median() const {
    if (values_.empty()) {
        return 0;
    }
    std::vector<double> sorted = values_;
    std::sort(sorted.begin(), sorted.end());
    const std::size_t middle = sorted.size() / 2;
    return sorted.size() % 2 != 0 ? sorted[middle] : (sorted[middle - 1] + sorted[middle]) / 2;
}

std::string Figures::text(int decimals) const {
    if (values_.empty()) {
        return "";
    }
    if (values_.size() == 1) {
        return number(values_.front(), decimals);
    }
    const auto [least, most] = std::minmax_element(values_.begin(), values_.end());
    return number(median(), decimals) + " (" + number(*least, decimals) + ".." +
           number(*most, decimals) + ")";
}

void Table::add(const std::string& what, int decimals, const Figures& bare, const Figures& ours,
                Limit limit) {
    const double ratio = bare.median() > 0 ? ours.median() / bare.median() : 0;
    text_ += "| " + what + " | " + bare.text(decimals) + " | " + ours.text(decimals) + " | " +
             (ratio > 0 ? number(ratio, 2) : "") + " | ";
    if (limit.kind == Limit::kNone) {
        text_ += " | |\n";
        return;
    }
    const bool holds = (limit.kind == Limit::kRatio ? ratio : ours.median()) <= limit.value;
    allHold_ = allHold_ && holds;
    text_ += (limit.kind == Limit::kRatio ? "x " + number(limit.value, 2)
                                          : number(limit.value, decimals)) +
             (holds ? " | holds |\n" : " | exceeded |\n");
}

void rewrite(const std::string& document, const std::string& text) {
    std::ifstream in(document);
    std::ostringstream all;
    all << in.rdbuf();
    std::string content = all.str();
    const std::size_t begin = content.find(kBegin);
    const std::size_t end = content.find(kEnd);
    if (!in || begin == std::string::npos || end == std::string::npos || end < begin) {
        throw std::runtime_error(document + " has no place for the figures");
    }
    const std::size_t from = begin + sizeof kBegin - 1;
    content.replace(from, end - from, text);
    std::ofstream out(document, std::ios::trunc);
    out << content;
    if (!out.flush()) {
        throw std::runtime_error(document + " cannot be written");
    }
}

} // namespace bench
