#include "statebus/message.h"

#include <cstring>

namespace statebus {

namespace {

using Kind = WireRecord::Kind;

struct NumberRow {
    Kind kind;
    char type; ///< D-Bus type code
    const char* signature;
};

constexpr NumberRow kNumbers[] = {
    {Kind::kInt32, 'i', "i"},
    {Kind::kUint32, 'u', "u"},
    {Kind::kInt16, 'n', "n"},
    {Kind::kUint16, 'q', "q"},
};

constexpr char kRecordSignature[] = "a{sv}";
constexpr char kArraySignature[] = "aa{sv}";
constexpr char kArgumentSignature[] = "(sa{sv})";

/// Length of the UTF-8 sequence at the front, 0 when there is no legal one. Overlong forms,
/// surrogates and noncharacters are not legal.
std::size_t sequenceLength(const unsigned char* text, std::size_t size) {
    const unsigned char first = text[0];
    if (first < 0x80)
        return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || size < length)
        return 0;
    std::uint32_t character = first & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((text[i] & 0xC0) != 0x80)
            return 0;
        character = character << 6 | (text[i] & 0x3Fu);
    }
    constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    const bool nonCharacter =
        (character >= 0xFDD0 && character <= 0xFDEF) || (character & 0xFFFE) == 0xFFFE;
    const bool legal = character >= kSmallest[length] && character <= 0x10FFFF;
    return legal && !surrogate && !nonCharacter ? length : 0;
}

/// Writes one record's values: the nodes from `begin` to `end`.
int appendNodes(sd_bus_message* message, const WireRecord& record, std::size_t begin,
                std::size_t end);

int appendTextVariant(sd_bus_message* message, std::string_view text) {
    if (isBusText(text))
        return sd_bus_message_append(message, "v", "s", std::string(text).c_str());
    int result = sd_bus_message_open_container(message, 'v', "ay");
    if (result >= 0)
        result = sd_bus_message_append_array(message, 'y', text.data(), text.size());
    return result < 0 ? result : sd_bus_message_close_container(message);
}

int appendNumberVariant(sd_bus_message* message, Kind kind, long long number) {
    switch (kind) {
    case Kind::kInt32:
        return sd_bus_message_append(message, "v", "i", static_cast<int>(number));
    case Kind::kUint32:
        return sd_bus_message_append(message, "v", "u", static_cast<unsigned>(number));
    case Kind::kInt16:
        return sd_bus_message_append(message, "v", "n", static_cast<int>(number));
    default:
        return sd_bus_message_append(message, "v", "q", static_cast<unsigned>(number));
    }
}

int appendArrayVariant(sd_bus_message* message, const WireRecord& record, std::size_t index) {
    const WireRecord::Node& node = record.nodes()[index];
    int result = sd_bus_message_open_container(message, 'v', kArraySignature);
    if (result >= 0)
        result = sd_bus_message_open_container(message, 'a', kRecordSignature);
    for (std::size_t i = index + 1; result >= 0 && i < node.end; i = record.nodes()[i].end)
        result = appendNodes(message, record, i + 1, record.nodes()[i].end);
    if (result >= 0)
        result = sd_bus_message_close_container(message);
    return result < 0 ? result : sd_bus_message_close_container(message);
}

int appendValue(sd_bus_message* message, const WireRecord& record, std::size_t index) {
    const WireRecord::Node& node = record.nodes()[index];
    if (node.kind == Kind::kText)
        return appendTextVariant(message, record.text(node));
    if (node.kind == Kind::kArray)
        return appendArrayVariant(message, record, index);
    if (node.kind != Kind::kRecord)
        return appendNumberVariant(message, node.kind, node.number);
    int result = sd_bus_message_open_container(message, 'v', kRecordSignature);
    if (result >= 0)
        result = appendNodes(message, record, index + 1, node.end);
    return result < 0 ? result : sd_bus_message_close_container(message);
}

int appendNodes(sd_bus_message* message, const WireRecord& record, std::size_t begin,
                std::size_t end) {
    int result = sd_bus_message_open_container(message, 'a', "{sv}");
    for (std::size_t i = begin; result >= 0 && i < end; i = record.nodes()[i].end) {
        const std::string name(record.name(record.nodes()[i]));
        result = sd_bus_message_open_container(message, 'e', "sv");
        if (result >= 0)
            result = sd_bus_message_append_basic(message, 's', name.c_str());
        if (result >= 0)
            result = appendValue(message, record, i);
        if (result >= 0)
            result = sd_bus_message_close_container(message);
    }
    return result < 0 ? result : sd_bus_message_close_container(message);
}

/// Reads one record and what is nested in it. Any failure is final: the message is then no use.
class Reader {
public:
    Reader(sd_bus_message* message, std::string& reason) : message_(message), reason_(reason) {}

    bool record(WireRecord& record, int depth) {
        if (depth > kMaxRecordDepth)
            return refuse("is nested too deeply");
        int entered = sd_bus_message_enter_container(message_, 'a', "{sv}");
        if (entered <= 0)
            return refuse("is not a record");
        while ((entered = sd_bus_message_enter_container(message_, 'e', "sv")) > 0) {
            const char* name = nullptr;
            if (sd_bus_message_read_basic(message_, 's', &name) < 0 ||
                !value(record, name, depth) || sd_bus_message_exit_container(message_) < 0)
                return refuse("cannot be read");
            if (!record.isAcceptable())
                return refuse("is too large");
        }
        return entered == 0 && sd_bus_message_exit_container(message_) >= 0 ? true
                                                                            : refuse("is cut off");
    }

    /// A string or bytes; nothing when it is neither or contains a NUL.
    std::optional<std::string> text(const char* signature) {
        if (std::strcmp(signature, "s") == 0) {
            const char* characters = nullptr;
            if (sd_bus_message_read_basic(message_, 's', &characters) < 0)
                return std::nullopt;
            return std::string(characters);
        }
        const void* bytes = nullptr;
        std::size_t size = 0;
        if (sd_bus_message_read_array(message_, 'y', &bytes, &size) < 0)
            return std::nullopt;
        if (size == 0)
            return std::string();
        if (std::memchr(bytes, 0, size) != nullptr) {
            (void)refuse("has a NUL in a text");
            return std::nullopt;
        }
        return std::string(static_cast<const char*>(bytes), size);
    }

    /// Keeps the first reason, which is the innermost one.
    bool refuse(const char* why) {
        if (reason_.empty())
            reason_ = why;
        return false;
    }

private:
    bool value(WireRecord& record, const char* name, int depth) {
        char type = 0;
        const char* signature = nullptr;
        if (sd_bus_message_peek_type(message_, &type, &signature) <= 0 || type != 'v')
            return false;
        if (!isKnown(signature))
            return sd_bus_message_skip(message_, "v") >= 0;
        // The message's own text may move while it is read.
        const std::string content = signature;
        if (sd_bus_message_enter_container(message_, 'v', content.c_str()) <= 0)
            return false;
        return known(record, name, content.c_str(), depth) &&
               sd_bus_message_exit_container(message_) >= 0;
    }

    static bool isKnown(const char* signature) {
        constexpr const char* kSignatures[] = {"s", "ay", "i", "u", "n", "q", "a{sv}", "aa{sv}"};
        for (const char* known : kSignatures)
            if (std::strcmp(signature, known) == 0)
                return true;
        return false;
    }

    bool known(WireRecord& target, const char* name, const char* signature, int depth) {
        for (const NumberRow& row : kNumbers)
            if (std::strcmp(signature, row.signature) == 0)
                return number(target, name, row);
        if (std::strcmp(signature, kRecordSignature) == 0) {
            const std::size_t nested = target.open(Kind::kRecord, name);
            const bool good = record(target, depth + 1);
            target.close(nested);
            return good;
        }
        if (std::strcmp(signature, kArraySignature) == 0)
            return array(target, name, depth);
        const std::optional<std::string> read = text(signature);
        if (read)
            target.addText(name, *read);
        return read.has_value();
    }

    bool number(WireRecord& target, const char* name, const NumberRow& row) {
        union {
            std::int32_t i;
            std::uint32_t u;
            std::int16_t n;
            std::uint16_t q;
        } read = {};
        if (sd_bus_message_read_basic(message_, row.type, &read) < 0)
            return false;
        const long long number = row.type == 'i'   ? static_cast<long long>(read.i)
                                 : row.type == 'u' ? static_cast<long long>(read.u)
                                 : row.type == 'n' ? static_cast<long long>(read.n)
                                                   : static_cast<long long>(read.q);
        target.addNumber(row.kind, name, number);
        return true;
    }

    bool array(WireRecord& target, const char* name, int depth) {
        const std::size_t array = target.open(Kind::kArray, name);
        if (sd_bus_message_enter_container(message_, 'a', kRecordSignature) <= 0)
            return false;
        std::size_t length = 0;
        for (;;) {
            const int end = sd_bus_message_at_end(message_, 0);
            if (end < 0)
                return false;
            if (end > 0)
                break;
            if (++length > kMaxArrayLength)
                return refuse("has too many elements");
            const std::size_t element = target.open(Kind::kRecord, {});
            if (!record(target, depth + 1))
                return false;
            target.close(element);
        }
        target.close(array);
        return sd_bus_message_exit_container(message_) >= 0;
    }

    sd_bus_message* message_;
    std::string& reason_;
};

} // namespace

bool isFailure(sd_bus_message* answer) {
    return answer == nullptr || sd_bus_message_is_method_error(answer, nullptr) > 0;
}

bool isBusText(std::string_view text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = sequenceLength(bytes + i, text.size() - i);
        if (length == 0 || bytes[i] == 0)
            return false;
        i += length;
    }
    return true;
}

int appendText(sd_bus_message* message, const std::string& text) {
    return appendTextVariant(message, text);
}

int appendRecord(sd_bus_message* message, const WireRecord& record) {
    return appendNodes(message, record, 0, record.nodes().size());
}

int appendCommand(sd_bus_message* message, const WireCommand& command) {
    // A word is a word: no publisher knows one that is not a D-Bus string.
    if (!isBusText(command.word))
        return -EINVAL;
    int result = sd_bus_message_append_basic(message, 's', command.word.c_str());
    if (result >= 0)
        result = sd_bus_message_open_container(message, 'a', "v");
    if (result < 0)
        return result;
    if (const auto* text = std::get_if<std::string>(&command.argument)) {
        result = appendTextVariant(message, *text);
    } else if (const auto* number = std::get_if<long long>(&command.argument)) {
        result = sd_bus_message_append(message, "v", "x", static_cast<std::int64_t>(*number));
    } else if (const auto* count = std::get_if<unsigned long long>(&command.argument)) {
        result = sd_bus_message_append(message, "v", "t", static_cast<std::uint64_t>(*count));
    } else if (const auto* record = std::get_if<WireArgumentRecord>(&command.argument)) {
        result = sd_bus_message_open_container(message, 'v', kArgumentSignature);
        if (result >= 0)
            result = sd_bus_message_open_container(message, 'r', "sa{sv}");
        if (result >= 0)
            result = sd_bus_message_append_basic(message, 's', record->type.c_str());
        if (result >= 0)
            result = appendRecord(message, *record->record);
        if (result >= 0)
            result = sd_bus_message_close_container(message);
        if (result >= 0)
            result = sd_bus_message_close_container(message);
    }
    return result < 0 ? result : sd_bus_message_close_container(message);
}

std::optional<WireRecord> readRecord(sd_bus_message* message, std::string& reason) {
    WireRecord record;
    reason.clear();
    if (!Reader(message, reason).record(record, 0))
        return std::nullopt;
    return record;
}

namespace {

bool readArgument(sd_bus_message* message, const std::string& signature, WireCommand& command,
                  std::string& reason) {
    Reader reader(message, reason);
    if (signature == "s" || signature == "ay") {
        std::optional<std::string> text = reader.text(signature.c_str());
        if (!text)
            return false;
        command.argument = std::move(*text);
        return true;
    }
    if (signature == "x") {
        std::int64_t number = 0;
        const bool read = sd_bus_message_read_basic(message, 'x', &number) >= 0;
        command.argument = static_cast<long long>(number);
        return read;
    }
    if (signature == "t") {
        std::uint64_t number = 0;
        const bool read = sd_bus_message_read_basic(message, 't', &number) >= 0;
        command.argument = static_cast<unsigned long long>(number);
        return read;
    }
    if (signature != kArgumentSignature)
        return reader.refuse("has an argument of an unknown kind");
    WireRecord record;
    const char* type = nullptr;
    if (sd_bus_message_enter_container(message, 'r', "sa{sv}") <= 0 ||
        sd_bus_message_read_basic(message, 's', &type) < 0)
        return false;
    const std::string typeName = type;
    if (!reader.record(record, 0) || sd_bus_message_exit_container(message) < 0)
        return false;
    command.argument =
        WireArgumentRecord{typeName, std::make_shared<const WireRecord>(std::move(record))};
    return true;
}

} // namespace

std::optional<WireCommand> readCommand(sd_bus_message* message, std::string& reason) {
    WireCommand command;
    reason.clear();
    const char* word = nullptr;
    if (sd_bus_message_read_basic(message, 's', &word) <= 0 ||
        sd_bus_message_enter_container(message, 'a', "v") <= 0) {
        reason = "is cut off";
        return std::nullopt;
    }
    command.word = word;
    char type = 0;
    const char* contents = nullptr;
    const int more = sd_bus_message_peek_type(message, &type, &contents);
    bool good = more == 0;
    if (more > 0 && type == 'v') {
        const std::string signature = contents;
        good = sd_bus_message_enter_container(message, 'v', signature.c_str()) > 0 &&
               readArgument(message, signature, command, reason) &&
               sd_bus_message_exit_container(message) >= 0;
        if (good && sd_bus_message_at_end(message, 0) == 0) {
            reason = "has more than one argument";
            good = false;
        }
    }
    if (good)
        return command;
    if (reason.empty())
        reason = "cannot be read";
    return std::nullopt;
}

} // namespace statebus
