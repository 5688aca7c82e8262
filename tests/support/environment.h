// Environment variables for the time of a test: what was there before is there again when the
// object is gone.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace testing_support {

class Environment {
public:
    Environment() = default;
    ~Environment() {
        for (auto saved = saved_.rbegin(); saved != saved_.rend(); ++saved) {
            write(saved->first, saved->second);
        }
    }
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

    void set(const std::string& name, const std::string& value) { change(name, value); }
    void unset(const std::string& name) { change(name, std::nullopt); }

private:
    using Value = std::optional<std::string>;

    void change(const std::string& name, const Value& value) {
        const char* const before = std::getenv(name.c_str());
        saved_.emplace_back(name, before == nullptr ? Value() : Value(before));
        write(name, value);
    }

    static void write(const std::string& name, const Value& value) {
        if (value) {
            setenv(name.c_str(), value->c_str(), 1);
        } else {
            unsetenv(name.c_str());
        }
    }

    std::vector<std::pair<std::string, Value>> saved_;
};

} // namespace testing_support
