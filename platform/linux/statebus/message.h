// Records, commands and answers in D-Bus messages.
//
// Everything here runs on the I/O thread: a message belongs to its connection, which is not
// thread-safe.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include <systemd/sd-bus.h>

#include "statebus/wire_record.h"

namespace statebus {

struct MessageUnref {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using MessagePtr = std::unique_ptr<sd_bus_message, MessageUnref>;

struct SlotUnref {
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};
using SlotPtr = std::unique_ptr<sd_bus_slot, SlotUnref>;

/// A record as the argument of a command.
struct WireArgumentRecord {
    std::string type;
    SharedWireRecord record;
};

/// A command as it travels.
struct WireCommand {
    std::string word;
    std::variant<std::monostate, std::string, long long, unsigned long long, WireArgumentRecord>
        argument;
};

/// No answer arrived (null) or it is an error.
bool isFailure(sd_bus_message* answer);

/// D-Bus strings are UTF-8 without noncharacters; any other text travels as an array of bytes.
bool isBusText(std::string_view text);

// Writing. Negative: the message cannot be used.

int appendText(sd_bus_message* message, const std::string& text);
int appendRecord(sd_bus_message* message, const WireRecord& record);
int appendCommand(sd_bus_message* message, const WireCommand& command);

// Reading. On failure `reason` tells why, in a few words for the console.

std::optional<WireRecord> readRecord(sd_bus_message* message, std::string& reason);
/// A text that stands in a variant, a string or bytes.
std::optional<WireCommand> readCommand(sd_bus_message* message, std::string& reason);

} // namespace statebus
