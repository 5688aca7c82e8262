// Records as they arrive in D-Bus messages: read, and decoded into every layout that this system
// has. What was accepted must survive the way back.
//
// Input: a line is a field: a type code ("s", "y" for bytes, "i", "u", "n", "q", and "x", "d", "v",
// which nobody knows), its name, "=" and its value; "{" and "[" and a name open a nested record and
// an array, "(" an element of it, ")" closes.
#include "statebus/message.h"
#include "statebus/record_codec.h"

#include <cstdlib>
#include <string>
#include <vector>

#include <sys/socket.h>

#include "ServiceRecords.h"
#include "check.h"
#include "input.h"

using namespace statebus;

namespace {

constexpr const zeSBusStateTemplate* kLayouts[] = {
    &ContentPlayerServiceTemplate,
    &SoundServiceTemplate,
    &MediaRendererServiceTemplate,
    &ContentPlayerServiceURIExTemplate,
    &ContentPlayerServiceCustomCommandTemplate,
};

/// Messages belong to a connection; this one leads nowhere.
sd_bus* connection() {
    static sd_bus* const bus = [] {
        int ends[2];
        sd_bus* made = nullptr;
        FUZZ_CHECK(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0);
        FUZZ_CHECK(sd_bus_new(&made) >= 0);
        FUZZ_CHECK(sd_bus_set_fd(made, ends[0], ends[0]) >= 0);
        FUZZ_CHECK(sd_bus_start(made) >= 0);
        return made;
    }();
    return bus;
}

MessagePtr newMessage() {
    sd_bus_message* message = nullptr;
    FUZZ_CHECK(sd_bus_message_new_signal(connection(), &message, "/a", "a.b", "C") >= 0);
    return MessagePtr(message);
}

void finish(sd_bus_message* message) {
    FUZZ_CHECK(sd_bus_message_seal(message, 1, 0) >= 0);
    FUZZ_CHECK(sd_bus_message_rewind(message, 1) >= 0);
}

/// Writes a message of any shape that D-Bus itself allows.
class Writer {
public:
    Writer() { FUZZ_CHECK(sd_bus_message_open_container(message_.get(), 'a', "{sv}") >= 0); }

    void line(char type, std::string_view rest) {
        if (type == ')') {
            close();
        } else if (type == '(') {
            openElement();
        } else if (!inside_.empty() && inside_.back() == '[') {
            return; // only elements stand in an array
        } else if (type == '{' || type == '[') {
            openNested(type, std::string(rest));
        } else {
            const std::size_t cut = rest.find('=');
            if (cut != std::string_view::npos)
                value(type, std::string(rest.substr(0, cut)), rest.substr(cut + 1));
        }
    }

    MessagePtr take() {
        while (!inside_.empty())
            close();
        good(sd_bus_message_close_container(message_.get()));
        finish(message_.get());
        return std::move(message_);
    }

private:
    static constexpr std::size_t kDeepest = 12;

    static void good(int result) { FUZZ_CHECK(result >= 0); }

    bool begin(const std::string& name) {
        if (!isBusText(name))
            return false;
        good(sd_bus_message_open_container(message_.get(), 'e', "sv"));
        good(sd_bus_message_append_basic(message_.get(), 's', name.c_str()));
        return true;
    }
    void end() { good(sd_bus_message_close_container(message_.get())); }

    void value(char type, const std::string& name, std::string_view text) {
        const std::string value(text);
        const long long number = std::atoll(value.c_str());
        const bool known = std::string_view("syiunqxdv").find(type) != std::string_view::npos;
        if (!known || (type == 's' && !isBusText(value)) || !begin(name))
            return;
        sd_bus_message* message = message_.get();
        switch (type) {
        case 's':
            good(sd_bus_message_append(message, "v", "s", value.c_str()));
            break;
        case 'y':
            good(sd_bus_message_open_container(message, 'v', "ay"));
            good(sd_bus_message_append_array(message, 'y', value.data(), value.size()));
            good(sd_bus_message_close_container(message));
            break;
        case 'x':
            good(sd_bus_message_append(message, "v", "x", number));
            break;
        case 'd':
            good(sd_bus_message_append(message, "v", "d", static_cast<double>(number)));
            break;
        case 'v':
            good(sd_bus_message_append(message, "v", "v", "i", static_cast<int>(number)));
            break;
        default:
            good(sd_bus_message_append(message, "v", std::string(1, type).c_str(),
                                       static_cast<int>(number)));
            break;
        }
        end();
    }
    void openNested(char type, const std::string& name) {
        if (inside_.size() >= kDeepest || !begin(name))
            return;
        const char* signature = type == '{' ? "a{sv}" : "aa{sv}";
        good(sd_bus_message_open_container(message_.get(), 'v', signature));
        good(sd_bus_message_open_container(message_.get(), 'a', signature + 1));
        inside_.push_back(type);
    }
    void openElement() {
        if (inside_.empty() || inside_.back() != '[' || inside_.size() >= kDeepest)
            return;
        good(sd_bus_message_open_container(message_.get(), 'a', "{sv}"));
        inside_.push_back('(');
    }
    void close() {
        if (inside_.empty())
            return;
        end();
        if (inside_.back() != '(') {
            end(); // the variant
            end(); // the entry
        }
        inside_.pop_back();
    }

    MessagePtr message_ = newMessage();
    std::vector<char> inside_;
};

void checkDecoded(const WireRecord& wire) {
    for (const zeSBusStateTemplate* layout : kLayouts) {
        std::string reason;
        const auto record = makeRecord(*layout, wire, reason);
        FUZZ_CHECK(record.has_value() == reason.empty());
        if (!record)
            continue;
        const MessagePtr message = newMessage();
        FUZZ_CHECK(appendRecord(message.get(), encodeRecord(*layout, record->data())) >= 0);
        finish(message.get());
        const auto again = readRecord(message.get(), reason);
        FUZZ_CHECK(again.has_value());
        const auto back = makeRecord(*layout, *again, reason);
        FUZZ_CHECK(back.has_value() && *back == *record);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Writer writer;
    fuzz::eachLine(fuzz::bytes(data, size),
                   [&](char key, std::string_view rest) { writer.line(key, rest); });
    const MessagePtr message = writer.take();
    std::string reason;
    const auto wire = readRecord(message.get(), reason);
    FUZZ_CHECK(wire.has_value() == reason.empty());
    if (wire) {
        FUZZ_CHECK(wire->isAcceptable());
        checkDecoded(*wire);
    }
    return 0;
}
