#include "process/sound_store.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <nlohmann/json.hpp>

#include "logic/sound.h"
#include "process/log.h"

namespace player {
namespace {

std::string fileIn(const std::string& folder) {
    return folder + "/zeGStreamerPlayer.json";
}

} // namespace

SoundStatus loadSound(const std::string& folder) {
    SoundStatus sound;
    std::ifstream file(fileIn(folder));
    if (folder.empty() || !file) {
        return sound;
    }
    const auto json = nlohmann::json::parse(file, nullptr, false);
    const auto volume = json.is_object() ? json.find("volume") : json.end();
    const auto mute = json.is_object() ? json.find("mute") : json.end();
    if (!json.is_object() || volume == json.end() || !volume->is_number_unsigned() ||
        volume->get<std::uint64_t>() > Sound::kLoudest || mute == json.end() ||
        !mute->is_boolean()) {
        logWarning(fileIn(folder) + " holds no volume");
        return sound;
    }
    sound.volume = volume->get<unsigned>();
    sound.mute = mute->get<bool>();
    return sound;
}

void saveSound(const std::string& folder, const SoundStatus& sound) {
    if (folder.empty()) {
        return;
    }
    std::error_code ignored; // what cannot be made cannot be opened either
    std::filesystem::create_directories(folder, ignored);
    const std::string part = fileIn(folder) + ".part";
    std::ofstream file(part, std::ios::trunc);
    file << nlohmann::json{{"volume", sound.volume}, {"mute", sound.mute}} << '\n';
    file.close();
    if (!file || std::rename(part.c_str(), fileIn(folder).c_str()) != 0) {
        logWarning("the volume is not kept in " + folder + ": " + std::strerror(errno));
    }
}

} // namespace player
