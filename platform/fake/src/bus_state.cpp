#include "bus_state.h"

#include <algorithm>

#include "fake/journal.h"
#include "statebus/record_memory.h"

namespace fake {

namespace {

using statebus::FieldKind;
using statebus::Record;

/// Appends "path=value" of every field of `layout` to `parts`.
void describeFields(const Record& record, const zeSBusStateTemplate& layout,
                    const std::string& prefix, std::vector<std::string>& parts) {
    std::size_t count = 0;
    for (const StateFieldDescriptor* field = layout.mFields; field->mName != nullptr; ++field) {
        const std::string path = prefix + field->mName;
        const FieldKind kind = statebus::kindOf(*field);
        if (field->mFlags == statebus::kFieldFlagCount) {
            count = static_cast<std::size_t>(record.number(path).value_or(0));
        } else if (kind == FieldKind::kText || kind == FieldKind::kCharacters) {
            const auto text = record.text(path);
            parts.push_back(path + "=" + (text ? quoted(*text) : "null"));
        } else if (statebus::isNumber(kind)) {
            if (record.number(path).value_or(0) != 0)
                parts.push_back(path + "=" + std::to_string(*record.number(path)));
        } else if (kind == FieldKind::kRecord) {
            describeFields(record, *field->mNested, path + ".", parts);
        } else if (kind == FieldKind::kRecordArray) {
            for (std::size_t i = 0; i < count; ++i)
                describeFields(record, *field->mNested, path + "[" + std::to_string(i) + "].",
                               parts);
        }
    }
}

/// Fields that the source does not have, or has in another kind, stay 0 or null.
void convertFields(const Record& from, Record& to, const zeSBusStateTemplate& layout,
                   const std::string& prefix) {
    std::string countPath;
    for (const StateFieldDescriptor* field = layout.mFields; field->mName != nullptr; ++field) {
        const std::string path = prefix + field->mName;
        const FieldKind kind = statebus::kindOf(*field);
        if (field->mFlags == statebus::kFieldFlagCount) {
            countPath = path;
        } else if (kind == FieldKind::kText || kind == FieldKind::kCharacters) {
            if (const auto text = from.text(path))
                to.setText(path, *text);
        } else if (statebus::isNumber(kind)) {
            if (const auto number = from.number(path))
                to.setNumber(path, *number);
        } else if (kind == FieldKind::kRecord) {
            convertFields(from, to, *field->mNested, path + ".");
        } else if (kind == FieldKind::kRecordArray) {
            const auto count = static_cast<std::size_t>(from.number(countPath).value_or(0));
            to.resize(path, count);
            for (std::size_t i = 0; i < count; ++i)
                convertFields(from, to, *field->mNested, path + "[" + std::to_string(i) + "].");
        }
    }
}

} // namespace

BusState& bus() {
    // Never destroyed, like the journal.
    static auto* const state = new BusState;
    return *state;
}

std::string fullNameOf(const std::string& typeName, const InstanceName& name) {
    return name && !name->empty() ? typeName + "$" + *name : typeName;
}

std::string typeOf(const std::string& fullName) {
    return fullName.substr(0, fullName.find('$'));
}

std::string described(const InstanceName& name) {
    return name ? quoted(*name) : "null";
}

std::string described(const Record& record) {
    std::vector<std::string> parts;
    describeFields(record, record.layout(), "", parts);
    std::string text = record.layout().mName;
    text += "{";
    for (std::size_t i = 0; i < parts.size(); ++i)
        text += (i == 0 ? "" : ", ") + parts[i];
    return text + "}";
}

Record converted(const Record& record, const zeSBusStateTemplate& layout) {
    if (&record.layout() == &layout)
        return record;
    Record result(layout);
    convertFields(record, result, layout, "");
    return result;
}

bool isRunning(const zeSBusManager& manager) {
    const zeSBusManager::Data& data = *manager.data();
    return !data.stopped && data.engine != nullptr && data.engine->data()->started;
}

InstancePtr findInstance(const std::string& fullName) {
    for (const InstancePtr& instance : bus().instances)
        if (instance->fullName == fullName)
            return instance;
    return nullptr;
}

InstancePtr addressed(const std::string& typeName, const InstanceName& name) {
    if (!bus().connected)
        return nullptr;
    InstancePtr exact = findInstance(fullNameOf(typeName, name));
    if (exact || name)
        return exact;
    InstancePtr only;
    for (const InstancePtr& instance : bus().instances) {
        if (instance->typeName != typeName)
            continue;
        if (only)
            return nullptr;
        only = instance;
    }
    return only;
}

void queueForAll(const Event& event) {
    for (zeSBusManager* manager : bus().managers) {
        if (!isRunning(*manager))
            continue;
        bus().queue.push_back(event);
        bus().queue.back().manager = manager;
    }
}

void announceAppeared(const InstancePtr& instance) {
    if (!bus().connected)
        return;
    Event event{Event::What::kAdded, nullptr, instance->typeName, instance->fullName, nullptr, 0};
    if (instance->record)
        event.record = std::make_shared<const Record>(*instance->record);
    event.serial = instance->serial;
    queueForAll(event);
}

void announceChanged(const InstancePtr& instance) {
    ++instance->serial;
    if (!bus().connected || !instance->alive)
        return;
    Event event{Event::What::kChanged, nullptr, instance->typeName, instance->fullName, nullptr, 0};
    event.record = std::make_shared<const Record>(*instance->record);
    event.serial = instance->serial;
    queueForAll(event);
}

void announceGone(const InstancePtr& instance, bool withWill) {
    if (!instance->alive)
        return;
    if (withWill && instance->will) {
        instance->record = instance->will;
        announceChanged(instance);
    }
    instance->alive = false;
    bus().instances.remove(instance);
    if (bus().connected)
        queueForAll(
            {Event::What::kRemoved, nullptr, instance->typeName, instance->fullName, nullptr, 0});
}

} // namespace fake
