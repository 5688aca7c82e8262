#include "renderer_choice.h"

#include <functional>

#include <glib.h>

#include "glib_handles.h"

namespace push {
namespace {

std::string folded(const std::string& text) {
    const StringPtr valid(g_utf8_make_valid(text.c_str(), static_cast<gssize>(text.size())));
    return StringPtr(g_utf8_casefold(valid.get(), -1)).get();
}

Choice choiceOf(std::vector<std::size_t> candidates) {
    Choice choice;
    choice.kind = candidates.size() == 1 ? Choice::Kind::kOne : Choice::Kind::kAmbiguous;
    choice.candidates = std::move(candidates);
    return choice;
}

} // namespace

Choice chooseRenderer(const std::vector<RendererName>& found, const std::string& wanted) {
    if (found.empty()) {
        return {};
    }
    const std::string want = folded(wanted);
    const auto allThat = [&](const std::function<bool(const RendererName&)>& fits) {
        std::vector<std::size_t> indexes;
        for (std::size_t i = 0; i < found.size(); ++i) {
            if (fits(found[i])) {
                indexes.push_back(i);
            }
        }
        return indexes;
    };
    const std::vector<std::function<bool(const RendererName&)>> rules = {
        [&](const RendererName& name) {
            const std::string udn = folded(name.udn);
            return !want.empty() && (udn == want || udn == "uuid:" + want);
        },
        [&](const RendererName& name) { return name.friendlyName == wanted; },
        [&](const RendererName& name) { return folded(name.friendlyName) == want; },
        [&](const RendererName& name) {
            return folded(name.friendlyName).find(want) != std::string::npos;
        },
    };
    for (std::size_t rule = 0; rule < rules.size(); ++rule) {
        std::vector<std::size_t> candidates = allThat(rules[rule]);
        if (!candidates.empty()) {
            Choice choice = choiceOf(std::move(candidates));
            choice.isCertain = rule == 0 && choice.kind == Choice::Kind::kOne;
            return choice;
        }
    }
    Choice unknown;
    unknown.kind = Choice::Kind::kUnknown;
    return unknown;
}

} // namespace push
