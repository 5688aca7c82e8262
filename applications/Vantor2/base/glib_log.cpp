#include "base/glib_log.h"

#include <string>

#include <glib.h>

#include "base/log.h"

namespace vantor {

namespace {

LogLevel levelOf(GLogLevelFlags flags) {
    if ((flags & (G_LOG_LEVEL_ERROR | G_LOG_LEVEL_CRITICAL)) != 0) {
        return LogLevel::kError;
    }
    return (flags & G_LOG_LEVEL_WARNING) != 0 ? LogLevel::kWarning : LogLevel::kDebug;
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
    logMessage(levelOf(flags), domain + ": " + text);
    return G_LOG_WRITER_HANDLED;
}

} // namespace

void adoptGlibMessages() {
    g_log_set_writer_func(writeMessage, nullptr, nullptr);
}

} // namespace vantor
