#include "statebus/wire_record.h"

namespace statebus {

WireRecord::Node& WireRecord::add(Kind kind, std::string_view name) {
    Node node = {};
    node.kind = kind;
    node.name = static_cast<std::uint32_t>(bytes_.size());
    node.nameSize = static_cast<std::uint32_t>(name.size());
    bytes_ += name;
    nodes_.push_back(node);
    nodes_.back().end = static_cast<std::uint32_t>(nodes_.size());
    return nodes_.back();
}

void WireRecord::addText(std::string_view name, std::string_view text) {
    Node& node = add(Kind::kText, name);
    node.text = static_cast<std::uint32_t>(bytes_.size());
    node.textSize = static_cast<std::uint32_t>(text.size());
    bytes_ += text;
}

void WireRecord::addNumber(Kind kind, std::string_view name, long long number) {
    add(kind, name).number = number;
}

std::size_t WireRecord::open(Kind kind, std::string_view name) {
    add(kind, name);
    return nodes_.size() - 1;
}

void WireRecord::close(std::size_t opened) {
    nodes_[opened].end = static_cast<std::uint32_t>(nodes_.size());
}

bool WireRecord::isAcceptable() const {
    return bytes_.size() <= kMaxRecordBytes && nodes_.size() <= kMaxRecordNodes;
}

} // namespace statebus
