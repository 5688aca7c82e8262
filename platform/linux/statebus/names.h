// How a state is called on D-Bus: one well-known name and one object for each instance.
//
// ContentPlayerService$main is the name tv.sbus.ContentPlayerService.main and the object
// /tv/sbus/ContentPlayerService/main; a state without an instance part ends after its type. Pure
// functions; any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace statebus {

constexpr char kBusPrefix[] = "tv.sbus";
constexpr char kStateInterface[] = "tv.sbus.State1";

/// Type and instance of a state; the instance is "" for a state without an instance part.
struct StateName {
    std::string type;
    std::string instance;

    bool operator==(const StateName& other) const {
        return type == other.type && instance == other.instance;
    }
    bool operator<(const StateName& other) const {
        return type != other.type ? type < other.type : instance < other.instance;
    }
};

/// "Type" or "Type$instance".
std::string fullName(const StateName& name);
/// Cuts at the first '$'.
StateName splitFullName(std::string_view name);

/// Nothing when the type is empty or the name would be longer than D-Bus allows.
std::optional<std::string> busName(const StateName& name);
std::string objectPath(const StateName& name);
/// Nothing when it is not the name or path of a state.
std::optional<StateName> fromBusName(std::string_view name);
std::optional<StateName> fromObjectPath(std::string_view path);

} // namespace statebus
