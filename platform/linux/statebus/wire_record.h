// A record between memory and message: names and values as they travel, without a template.
//
// The I/O thread turns messages into these and back; the threads that know the template turn them
// into memory and back. So no thread but the I/O thread touches a message, and a record that
// arrives before anybody has registered for it can wait. Pure data; immutable once shared.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace statebus {

/// Limits of a record that arrives. Beyond them it is refused.
constexpr std::size_t kMaxRecordBytes = 4 << 20; ///< names and texts together
constexpr std::size_t kMaxRecordNodes = 1 << 18; ///< values, nested ones included
constexpr int kMaxRecordDepth = 8;
constexpr std::size_t kMaxArrayLength = 65535; ///< the count field has 16 bits

class WireRecord {
public:
    enum class Kind : std::uint8_t { kText, kInt32, kUint32, kInt16, kUint16, kRecord, kArray };

    /// A value and its name. The elements of an array are records without a name.
    struct Node {
        Kind kind;
        std::uint32_t name, nameSize;
        std::uint32_t text, textSize;
        long long number;
        std::uint32_t end; ///< index behind the last node of a nested record or array
    };

    /// Top-level values are the nodes from 0 to the end; a nested one's are those behind it.
    const std::vector<Node>& nodes() const { return nodes_; }
    std::string_view name(const Node& node) const { return at(node.name, node.nameSize); }
    std::string_view text(const Node& node) const { return at(node.text, node.textSize); }

    void addText(std::string_view name, std::string_view text);
    void addNumber(Kind kind, std::string_view name, long long number);
    /// Everything added until `close` is called with the result belongs inside.
    std::size_t open(Kind kind, std::string_view name);
    void close(std::size_t opened);

    std::size_t bytes() const { return bytes_.size(); }
    /// Within the limits above.
    bool isAcceptable() const;

private:
    std::string_view at(std::uint32_t offset, std::uint32_t size) const {
        return std::string_view(bytes_).substr(offset, size);
    }
    Node& add(Kind kind, std::string_view name);

    std::vector<Node> nodes_;
    std::string bytes_;
};

using SharedWireRecord = std::shared_ptr<const WireRecord>;

} // namespace statebus
