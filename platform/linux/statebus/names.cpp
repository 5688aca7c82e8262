#include "statebus/names.h"

#include <cstdlib>

#include <systemd/sd-bus.h>

namespace statebus {

namespace {

constexpr std::size_t kLongestBusName = 255;
constexpr char kObjectRoot[] = "/tv/sbus";

/// A label that is legal in names and paths: other characters become "_xx", nothing becomes "_".
std::string encode(const std::string& text) {
    char* path = nullptr;
    if (sd_bus_path_encode("/", text.c_str(), &path) < 0)
        return {};
    std::string label = path + 1;
    std::free(path);
    return label;
}

std::optional<std::string> decode(std::string_view label) {
    char* text = nullptr;
    const std::string path = "/" + std::string(label);
    if (label.empty() || sd_bus_path_decode(path.c_str(), "/", &text) <= 0)
        return std::nullopt;
    std::string decoded = text;
    std::free(text);
    return decoded;
}

std::string join(const char* root, char separator, const StateName& name) {
    std::string joined = root;
    joined += separator + encode(name.type);
    if (!name.instance.empty())
        joined += separator + encode(name.instance);
    return joined;
}

std::optional<StateName> split(std::string_view text, std::string_view root, char separator) {
    if (text.size() <= root.size() || text.substr(0, root.size()) != root ||
        text[root.size()] != separator)
        return std::nullopt;
    text.remove_prefix(root.size() + 1);
    const std::size_t cut = text.find(separator);
    const std::optional<std::string> type = decode(text.substr(0, cut));
    if (!type || type->empty())
        return std::nullopt;
    if (cut == std::string_view::npos)
        return StateName{*type, ""};
    // A deeper name contains another separator, which no label does.
    const std::string_view rest = text.substr(cut + 1);
    if (rest.find(separator) != std::string_view::npos)
        return std::nullopt;
    const std::optional<std::string> instance = decode(rest);
    if (!instance || instance->empty())
        return std::nullopt;
    return StateName{*type, *instance};
}

} // namespace

std::string fullName(const StateName& name) {
    return name.instance.empty() ? name.type : name.type + "$" + name.instance;
}

StateName splitFullName(std::string_view name) {
    const std::size_t cut = name.find('$');
    if (cut == std::string_view::npos)
        return {std::string(name), ""};
    return {std::string(name.substr(0, cut)), std::string(name.substr(cut + 1))};
}

std::optional<std::string> busName(const StateName& name) {
    std::string joined = join(kBusPrefix, '.', name);
    if (name.type.empty() || joined.size() > kLongestBusName)
        return std::nullopt;
    return joined;
}

std::string objectPath(const StateName& name) {
    return join(kObjectRoot, '/', name);
}

std::optional<StateName> fromBusName(std::string_view name) {
    return split(name, kBusPrefix, '.');
}

std::optional<StateName> fromObjectPath(std::string_view path) {
    return split(path, kObjectRoot, '/');
}

} // namespace statebus
