#include "tv/report.h"

#include <cerrno>

#include <sys/ioctl.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "statebus/visible_text.h"

namespace tv {

namespace {

using nlohmann::ordered_json;

std::string jsonLine(const ordered_json& object) {
    return object.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + '\n';
}

std::string plainValue(const Detail& detail) {
    if (const auto* text = std::get_if<std::string>(&detail.value))
        return statebus::quotedText(*text);
    if (const auto* number = std::get_if<long long>(&detail.value))
        return std::to_string(*number);
    return std::get<bool>(detail.value) ? "yes" : "no";
}

std::string secondsText(const std::optional<std::uint32_t>& seconds) {
    return seconds ? std::to_string(*seconds) : "-";
}

ordered_json secondsValue(const std::optional<std::uint32_t>& seconds) {
    return seconds ? ordered_json(*seconds) : ordered_json(nullptr);
}

} // namespace

std::string eventLine(const Event& event, Format format) {
    if (format == Format::kJson) {
        ordered_json object = {{"line", "event"},
                               {"code", event.code},
                               {"name", event.name},
                               {"media", nameOf(event.media)}};
        for (const Detail& detail : event.details)
            std::visit([&](const auto& value) { object[detail.name] = value; }, detail.value);
        return jsonLine(object);
    }
    if (isEndOfPlayer(event)) // a person would take it for a failure
        return noticeLine(*event.text("meaning"), format);
    std::string line =
        "event " + std::to_string(event.code) + ' ' + event.name + ' ' + nameOf(event.media);
    for (const Detail& detail : event.details)
        line += ' ' + detail.name + '=' + plainValue(detail);
    return line + '\n';
}

std::string noticeLine(const std::string& text, Format format) {
    if (format == Format::kJson)
        return jsonLine({{"line", "notice"}, {"text", text}});
    return "notice " + text + '\n';
}

std::string problemLine(const std::string& text, Format format) {
    if (format == Format::kJson)
        return jsonLine({{"line", "problem"}, {"text", text}});
    return "problem " + text + '\n';
}

std::string replyLine(const std::string& command, bool ok, const std::string& text, Format format) {
    if (format == Format::kJson)
        return jsonLine({{"line", "reply"}, {"command", command}, {"ok", ok}, {"text", text}});
    return "reply " + statebus::visibleText(command) + (ok ? " ok" : " refused") +
           (text.empty() ? "" : ": " + text) + '\n';
}

std::string statusReport(const Status& status, Format format) {
    if (format == Format::kJson)
        return jsonLine({{"line", "status"},
                         {"state", stateText(status.state)},
                         {"media", nameOf(status.media)},
                         {"title", status.title},
                         {"position", secondsValue(status.position)},
                         {"duration", secondsValue(status.duration)},
                         {"speed", speedText(status.speed)},
                         {"visible", status.visible},
                         {"name", status.name}});
    return std::string("status ") + stateText(status.state) + ' ' + nameOf(status.media) +
           " title=" + statebus::quotedText(status.title) +
           " position=" + secondsText(status.position) +
           " duration=" + secondsText(status.duration) + " speed=" + speedText(status.speed) +
           " visible=" + (status.visible ? "yes" : "no") +
           " name=" + statebus::quotedText(status.name) + '\n';
}

std::string readyLine(const std::string& name, Format format) {
    if (format == Format::kJson)
        return jsonLine({{"line", "ready"}, {"name", name}});
    return "ready name=" + statebus::quotedText(name) + '\n';
}

Report::Report(int descriptor, Format format)
    : descriptor_(descriptor),
      format_(format),
      terminal_(format == Format::kPlain && isatty(descriptor) != 0) {}

void Report::text(const std::string& text) {
    if (format_ == Format::kPlain)
        line(text);
}

std::size_t Report::width() const {
    constexpr std::size_t kUsual = 80;
    winsize size{};
    if (ioctl(descriptor_, TIOCGWINSZ, &size) != 0 || size.ws_col < 2)
        return kUsual;
    return size.ws_col - 1U; // the last column would make some terminals begin a new line
}

void Report::line(const std::string& line) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (statusLine_.empty())
        write(line);
    else
        write("\r\x1b[K" + line + statusLine_);
}

void Report::setStatusLine(const std::string& text) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!terminal_ || text == statusLine_)
        return;
    statusLine_ = text;
    write("\r\x1b[K" + statusLine_);
}

void Report::write(const std::string& bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::write(descriptor_, bytes.data() + done, bytes.size() - done);
        if (written > 0)
            done += static_cast<std::size_t>(written);
        else if (errno != EINTR)
            return; // nobody reads any more; the TV goes on
    }
}

} // namespace tv
