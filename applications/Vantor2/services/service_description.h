// What a UPnP service offers: its actions with their arguments, and its state variables. One table
// per service; the SCPD document is written from it and every call is checked against it, so the
// two cannot disagree.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "soap/soap.h"

namespace vantor {

enum class DataType { text, boolean, i2, i4, ui2, ui4 };

struct ServiceVariable {
    std::string name;
    DataType type = DataType::text;
    bool evented = false;
    /// Empty: every value.
    std::vector<std::string> allowed;
    /// Least, most, step.
    std::optional<std::array<long, 3>> range;
    /// Error for a value that is not among the allowed ones.
    int refusal = kArgumentValueInvalid;
    /// Not 0: only the value 0 exists, any other number is answered with this error.
    int otherThanZero = 0;
};

struct ServiceArgument {
    std::string name;
    bool in = true;
    std::string variable;
};

struct ServiceAction {
    std::string name;
    std::vector<ServiceArgument> arguments;
};

struct ServiceDescription {
    std::string type; ///< "urn:schemas-upnp-org:service:...:1"
    std::string id;   ///< "urn:upnp-org:serviceId:..."
    std::string path; ///< first part of its addresses
    std::vector<ServiceVariable> variables;
    std::vector<ServiceAction> actions;

    const ServiceAction* findAction(std::string_view name) const;
    const ServiceVariable* findVariable(std::string_view name) const;
};

const ServiceDescription& avTransportDescription();
const ServiceDescription& renderingControlDescription();
const ServiceDescription& connectionManagerDescription();

/// The service's SCPD document.
std::string writeScpd(const ServiceDescription& service);

/// 0, or the error that the arguments of a call deserve: 402 for missing, unknown or mistyped ones,
/// else the variable's own.
int checkArguments(const ServiceDescription& service, const ServiceAction& action,
                   const SoapArguments& arguments);

} // namespace vantor
