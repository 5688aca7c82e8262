#include "base/glib_log.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include <glib.h>

#include "base/log.h"
#include "base/stranger_log.h"

namespace vantor {

namespace {

LogLevel levelOf(GLogLevelFlags flags) {
    if ((flags & (G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL)) != 0) {
        return LogLevel::kError;
    }
    return (flags & G_LOG_LEVEL_WARNING) != 0 ? LogLevel::kWarning : LogLevel::kDebug;
}

// An announcement that could not leave because its network has gone; which one has, the daemon says
// itself.
bool isOfALostNetwork(std::string_view domain, std::string_view text) {
    constexpr int kReasons[] = {ENETUNREACH, ENETDOWN, ENODEV, EADDRNOTAVAIL};
    return domain == "gssdp-client" &&
           std::any_of(std::begin(kReasons), std::end(kReasons), [&](int reason) {
               return text.find(g_strerror(reason)) != std::string_view::npos;
           });
}

// Strangers can cause some of the libraries' warnings, as often as they like. Any thread.
std::optional<std::size_t> takeWarning() {
    static std::mutex mutex;
    static LineBudget budget;
    const std::lock_guard<std::mutex> lock(mutex);
    return budget.take(std::chrono::steady_clock::now());
}

GLogWriterOutput writeMessage(GLogLevelFlags flags, const GLogField* fields, gsize count,
                              gpointer) {
    std::string domain;
    std::string text;
    for (gsize index = 0; index < count; ++index) {
        const GLogField& field = fields[index];
        const std::string key = field.key;
        if (key != "MESSAGE" && key != "GLIB_DOMAIN") {
            continue;
        }
        const auto* value = static_cast<const char*>(field.value);
        (key == "MESSAGE" ? text : domain) =
            field.length < 0 ? std::string(value)
                             : std::string(value, static_cast<std::size_t>(field.length));
    }
    const LogLevel level = isOfALostNetwork(domain, text) ? LogLevel::kDebug : levelOf(flags);
    if (level == LogLevel::kWarning) {
        const auto leftOut = takeWarning();
        if (!leftOut) {
            return G_LOG_WRITER_HANDLED;
        }
        if (*leftOut > 0) {
            logWarning(std::to_string(*leftOut) + " lines like the next one were left out");
        }
    }
    logMessage(level, domain + ": " + text);
    return G_LOG_WRITER_HANDLED;
}

} // namespace

void adoptGlibMessages() {
    g_log_set_writer_func(writeMessage, nullptr, nullptr);
}

} // namespace vantor
