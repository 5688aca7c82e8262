#include "services/service_description.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>

#include "base/xml.h"

namespace vantor {

namespace {

struct TypeRow {
    DataType type;
    const char* name;
    long long least;
    long long most;
};
constexpr TypeRow kTypes[] = {
    {DataType::text, "string", 0, 0},
    {DataType::boolean, "boolean", 0, 1},
    {DataType::i2, "i2", std::numeric_limits<std::int16_t>::min(),
     std::numeric_limits<std::int16_t>::max()},
    {DataType::i4, "i4", std::numeric_limits<std::int32_t>::min(),
     std::numeric_limits<std::int32_t>::max()},
    {DataType::ui2, "ui2", 0, std::numeric_limits<std::uint16_t>::max()},
    {DataType::ui4, "ui4", 0, std::numeric_limits<std::uint32_t>::max()},
};

const TypeRow& rowOf(DataType type) {
    return kTypes[static_cast<std::size_t>(type)];
}

template <class List> auto findNamed(const List& list, std::string_view name) {
    const auto found = std::find_if(list.begin(), list.end(),
                                    [&](const auto& entry) { return entry.name == name; });
    return found == list.end() ? nullptr : &*found;
}

std::optional<long long> numberIn(std::string_view digits) {
    if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') {
        digits.remove_prefix(1);
    }
    long long number = 0;
    const auto end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, number);
    if (digits.empty() || result.ec != std::errc() || result.ptr != end) {
        return std::nullopt;
    }
    return number;
}

bool isBooleanWord(std::string_view text) {
    for (const char* word : {"0", "1", "true", "false", "yes", "no"}) {
        if (text == word) {
            return true;
        }
    }
    return false;
}

int checkNumber(const ServiceVariable& variable, const std::string& value) {
    const auto number = numberIn(value);
    const TypeRow& type = rowOf(variable.type);
    if (!number || *number < type.least || *number > type.most) {
        return kInvalidArgs;
    }
    if (variable.otherThanZero != 0 && *number != 0) {
        return variable.otherThanZero;
    }
    if (variable.range && (*number < (*variable.range)[0] || *number > (*variable.range)[1])) {
        return kArgumentValueOutOfRange;
    }
    return 0;
}

int checkValue(const ServiceVariable& variable, const std::string& value) {
    switch (variable.type) {
    case DataType::boolean:
        return isBooleanWord(value) ? 0 : kInvalidArgs;
    case DataType::text: {
        const auto& allowed = variable.allowed;
        const bool known =
            allowed.empty() || std::find(allowed.begin(), allowed.end(), value) != allowed.end();
        return known ? 0 : variable.refusal;
    }
    default:
        return checkNumber(variable, value);
    }
}

void appendElement(std::string& out, const char* name, std::string_view value) {
    out.append("<").append(name).append(">").append(escapeXml(value));
    out.append("</").append(name).append(">");
}

void appendAction(std::string& out, const ServiceAction& action) {
    out += "<action>";
    appendElement(out, "name", action.name);
    if (!action.arguments.empty()) {
        out += "<argumentList>";
        for (const ServiceArgument& argument : action.arguments) {
            out += "<argument>";
            appendElement(out, "name", argument.name);
            appendElement(out, "direction", argument.in ? "in" : "out");
            appendElement(out, "relatedStateVariable", argument.variable);
            out += "</argument>";
        }
        out += "</argumentList>";
    }
    out += "</action>\n";
}

void appendVariable(std::string& out, const ServiceVariable& variable) {
    out += variable.evented ? "<stateVariable sendEvents=\"yes\">"
                            : "<stateVariable sendEvents=\"no\">";
    appendElement(out, "name", variable.name);
    appendElement(out, "dataType", rowOf(variable.type).name);
    if (!variable.allowed.empty()) {
        out += "<allowedValueList>";
        for (const std::string& value : variable.allowed) {
            appendElement(out, "allowedValue", value);
        }
        out += "</allowedValueList>";
    }
    if (variable.range) {
        out += "<allowedValueRange>";
        appendElement(out, "minimum", std::to_string((*variable.range)[0]));
        appendElement(out, "maximum", std::to_string((*variable.range)[1]));
        appendElement(out, "step", std::to_string((*variable.range)[2]));
        out += "</allowedValueRange>";
    }
    out += "</stateVariable>\n";
}

} // namespace

const ServiceAction* ServiceDescription::findAction(std::string_view name) const {
    return findNamed(actions, name);
}

const ServiceVariable* ServiceDescription::findVariable(std::string_view name) const {
    return findNamed(variables, name);
}

std::string writeScpd(const ServiceDescription& service) {
    std::string out = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                      "<scpd xmlns=\"urn:schemas-upnp-org:service-1-0\">"
                      "<specVersion><major>1</major><minor>0</minor></specVersion>\n<actionList>\n";
    for (const ServiceAction& action : service.actions) {
        appendAction(out, action);
    }
    out += "</actionList>\n<serviceStateTable>\n";
    for (const ServiceVariable& variable : service.variables) {
        appendVariable(out, variable);
    }
    out += "</serviceStateTable></scpd>\n";
    return out;
}

int checkArguments(const ServiceDescription& service, const ServiceAction& action,
                   const SoapArguments& arguments) {
    std::size_t expected = 0;
    for (const ServiceArgument& argument : action.arguments) {
        expected += argument.in ? 1 : 0;
    }
    if (arguments.size() != expected) {
        return kInvalidArgs;
    }
    // Missing ones first: an action that lacks an argument is wrong whatever the others hold.
    for (const auto& given : arguments) {
        const ServiceArgument* argument = findNamed(action.arguments, given.first);
        if (argument == nullptr || !argument->in) {
            return kInvalidArgs;
        }
    }
    for (const ServiceArgument& argument : action.arguments) {
        const auto given =
            std::find_if(arguments.begin(), arguments.end(),
                         [&](const auto& candidate) { return candidate.first == argument.name; });
        if (!argument.in || given == arguments.end()) {
            continue;
        }
        const ServiceVariable* variable = service.findVariable(argument.variable);
        const int error =
            variable == nullptr ? kActionFailed : checkValue(*variable, given->second);
        if (error != 0) {
            return error;
        }
    }
    return 0;
}

} // namespace vantor
