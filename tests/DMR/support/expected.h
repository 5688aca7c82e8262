// How the platform in memory writes down what the library is expected to ask of it.
#pragma once

#include <string>
#include <vector>

#include "fake/platform.h"

namespace dmrtest {

/// Entries of the platform's journal, in order.
using Calls = std::vector<std::string>;

/// A command to the player.
inline std::string command(const std::string& word) {
    return "Execute(\"" + word + "\") to ContentPlayerService \"main\" = true";
}
inline std::string command(const std::string& word, const std::string& text) {
    return "Execute(\"" + word + "\", " + fake::quoted(text) +
           ") to ContentPlayerService \"main\" = true";
}
/// A custom command to the player.
inline std::string custom(const std::string& word, const std::string& value) {
    return "Execute(\"customcommand\", ContentPlayerServiceCustomCommand{mCommand=" +
           fake::quoted(word) + ", mArgument=" + fake::quoted(value) +
           "}) to ContentPlayerService \"main\" = true";
}
/// A command to the renderer daemon.
inline std::string daemonCommand(const std::string& word, unsigned long number) {
    return "Execute(\"" + word + "\", " + std::to_string(number) +
           "ul) to MediaRendererService null = true";
}
inline std::string daemonCommand(const std::string& word, const std::string& text) {
    return "Execute(\"" + word + "\", " + fake::quoted(text) +
           ") to MediaRendererService null = true";
}
/// A write of a field of the player or of the sound service.
inline std::string write(const std::string& path, const std::string& value,
                         const std::string& type = "ContentPlayerService") {
    return "SetValue(" + type + ", \"main\", \"" + path + "\", " + fake::quoted(value) + ") = true";
}
/// A write of a field of the renderer daemon.
inline std::string daemonWrite(const std::string& path, const std::string& value) {
    return "SetValue(MediaRendererService, null, \"" + path + "\", " + fake::quoted(value) +
           ") = true";
}
/// An event for everybody, with what its parameter showed at that moment.
inline std::string post(unsigned long type, int event, const std::string& parameter) {
    char words[64];
    std::snprintf(words, sizeof words, "PostEvent(all, 0x%08lx, %d, {", type, event);
    return words + parameter + "})";
}

} // namespace dmrtest
