// ketra-tv as a process of its own, with the real library and companions that stand in for the real
// ones.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <dirent.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <signal.h>
#include <unistd.h>

#include "support/private_bus.h"
#include "support/program.h"

namespace television_test {

using nlohmann::json;
using testing_support::PrivateBus;
using testing_support::Program;

inline std::string contentOf(const std::string& path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

/// Text under a key, "" when there is none.
inline std::string textAt(const json& object, const std::string& key) {
    const auto* text = object.contains(key) ? object[key].get_ptr<const std::string*>() : nullptr;
    return text != nullptr ? *text : "";
}

class TheTelevision : public testing::Test {
protected:
    TheTelevision() {
        char pattern[] = "/tmp/ketra-tv-XXXXXX";
        folder_ = mkdtemp(pattern);
        setenv("KETRA_TEST_FOLDER", folder_.c_str(), 1);
        setenv("KETRA_SNAPSHOT_DIR", folder_.c_str(), 1);
        for (const char* variable : {"KETRA_TEST_PLAYER", "KETRA_TEST_DAEMON"})
            unsetenv(variable);
    }
    ~TheTelevision() override {
        tv_.reset();
        for (const char* file : {"/name", "/trace", "/script", "/a.png"})
            unlink((folder_ + file).c_str());
        rmdir(folder_.c_str());
    }

    std::unique_ptr<Program> startTv(const std::vector<std::string>& options,
                                     const char* stage = STAGE) {
        std::vector<std::string> words = {WITH_APPLICATIONS, "--stage", stage, "--", TV_PROGRAM};
        words.insert(words.end(), options.begin(), options.end());
        return std::make_unique<Program>(words);
    }
    void start(std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"--json", "--trace", folder_ + "/trace"});
        tv_ = startTv(options);
        ASSERT_FALSE(line("ready", "name", "Stand-in").is_null()) << said();
    }

    /// The next line of this kind that has this value; null when none comes.
    json line(const std::string& kind, const std::string& key, const json& value) {
        json found;
        tv_->waitForLine([&](const std::string& text) {
            const json object = json::parse(text, nullptr, false);
            if (!object.is_object() || textAt(object, "line") != kind || !object.contains(key) ||
                object[key] != value)
                return false;
            found = object;
            return true;
        });
        return found;
    }
    json event(const std::string& name) { return line("event", "name", name); }
    json reply(const std::string& command) {
        tv_->say(command);
        return line("reply", "command", command);
    }
    bool noticed(const std::string& kind, const std::string& part) {
        return tv_
            ->waitForLine([&](const std::string& text) {
                const json object = json::parse(text, nullptr, false);
                return object.is_object() && textAt(object, "line") == kind &&
                       textAt(object, "text").find(part) != std::string::npos;
            })
            .has_value();
    }
    std::string said() const { return tv_->output() + tv_->error(); }
    std::string trace() const { return contentOf(folder_ + "/trace"); }

    /// Processes of this test's world that run this program.
    std::vector<pid_t> companions(const std::string& program) const {
        const std::string mark = "KETRA_BUS_ADDRESS=" + bus_.address();
        std::vector<pid_t> found;
        DIR* processes = opendir("/proc");
        while (const dirent* entry = readdir(processes)) {
            const std::string process = std::string("/proc/") + entry->d_name;
            char path[4096];
            const ssize_t size = readlink((process + "/exe").c_str(), path, sizeof path);
            const std::string exe(path, size > 0 ? static_cast<std::size_t>(size) : 0);
            if (exe.substr(exe.rfind('/') + 1) != program)
                continue;
            if (contentOf(process + "/environ").find(mark) != std::string::npos)
                found.push_back(atoi(entry->d_name));
        }
        closedir(processes);
        return found;
    }
    void killCompanion(const std::string& program) {
        const std::vector<pid_t> found = companions(program);
        ASSERT_EQ(found.size(), 1U);
        kill(found[0], SIGKILL);
    }
    /// Returns when all its threads stand still: the signal stops the first one that runs, and
    /// until then another may still answer.
    static void freeze(pid_t process) {
        kill(process, SIGSTOP);
        const std::string tasks = "/proc/" + std::to_string(process) + "/task";
        bool still = false;
        for (int i = 0; i < 10000 && !still; ++i) {
            usleep(1000);
            still = true;
            for (const auto& task : std::filesystem::directory_iterator(tasks)) {
                const std::string stat = contentOf(task.path().string() + "/stat");
                still = still && stat.find(") T ") != std::string::npos;
            }
        }
        ASSERT_TRUE(still);
    }
    bool companionsEnd() const {
        for (int i = 0; i < 3000; ++i) {
            if (companions("Vantor2").empty() && companions("zeGStreamerPlayer").empty())
                return true;
            usleep(10000);
        }
        return false;
    }

    PrivateBus bus_;
    std::string folder_;
    std::unique_ptr<Program> tv_;
};

} // namespace television_test
