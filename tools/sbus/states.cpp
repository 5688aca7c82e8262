#include "sbus/states.h"

#include <algorithm>

#include "ServiceRecords.h"

namespace sbus {

const std::vector<const zeSBusStateTemplate*>& knownStates() {
    static const std::vector<const zeSBusStateTemplate*> states = {
        &ContentPlayerServiceTemplate, &SoundServiceTemplate, &MediaRendererServiceTemplate};
    return states;
}

const zeSBusStateTemplate* findState(const std::string& typeName) {
    for (const zeSBusStateTemplate* state : knownStates())
        if (typeName == state->mTypeName)
            return state;
    return nullptr;
}

StateName splitName(const std::string& fullName) {
    const std::size_t dollar = fullName.find('$');
    if (dollar == std::string::npos)
        return {fullName, ""};
    return {fullName.substr(0, dollar), fullName.substr(dollar + 1)};
}

Resolution resolve(const std::string& wanted, const std::vector<std::string>& fullNames) {
    Resolution resolution;
    if (std::find(fullNames.begin(), fullNames.end(), wanted) != fullNames.end()) {
        resolution.kind = Resolution::Kind::kFound;
        resolution.fullName = wanted;
        return resolution;
    }
    for (const std::string& fullName : fullNames)
        if (splitName(fullName).type == wanted)
            resolution.candidates.push_back(fullName);
    if (resolution.candidates.size() == 1) {
        resolution.kind = Resolution::Kind::kFound;
        resolution.fullName = resolution.candidates.front();
        resolution.candidates.clear();
    } else if (!resolution.candidates.empty()) {
        resolution.kind = Resolution::Kind::kAmbiguous;
    }
    return resolution;
}

} // namespace sbus
