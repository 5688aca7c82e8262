// The states that this system publishes, and how a person names one of their instances.
// Pure functions, any thread.
#pragma once

#include <string>
#include <vector>

#include "ze/zeSBus.h"

namespace sbus {

/// Layouts of the states, in the order in which they are listed.
const std::vector<const zeSBusStateTemplate*>& knownStates();
/// Null when there is no such state type.
const zeSBusStateTemplate* findState(const std::string& typeName);

/// "ContentPlayerService$main" is instance "main" of a type; without '$' the instance has no name.
struct StateName {
    std::string type;
    std::string instance;
};
StateName splitName(const std::string& fullName);

/// What a person's word for a state means among the instances that are on the bus.
struct Resolution {
    enum class Kind { kFound, kNone, kAmbiguous };
    Kind kind = Kind::kNone;
    std::string fullName;                ///< when found
    std::vector<std::string> candidates; ///< when ambiguous
};
/// A full name means that instance; a type name alone means its only instance.
Resolution resolve(const std::string& wanted, const std::vector<std::string>& fullNames);

} // namespace sbus
