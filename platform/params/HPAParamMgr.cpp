#include "platform/params/HPAParamMgr.h"

#include "platform/base/Exceptions.h"
#include "platform/base/HSTStringUtils.h"
#include "platform/files/HUTFile.h"

#include <array>
#include <cstdlib>
#include <map>
#include <mutex>
#include <optional>
#include <sstream>
#include <utility>

namespace {

struct Setting {
    std::string value;
    std::string place;
};

/// Those that the program has set, for all threads.
class ProgramSettings {
public:
    static ProgramSettings& ofProcess() {
        static ProgramSettings settings;
        return settings;
    }
    std::optional<Setting> find(std::string_view name) const {
        const std::lock_guard guard(mutex_);
        const auto setting = settings_.find(name);
        return setting == settings_.end() ? std::nullopt : std::optional(setting->second);
    }
    void set(const std::string& name, Setting setting) {
        const std::lock_guard guard(mutex_);
        settings_[name] = std::move(setting);
    }
    void unset(const std::string& name) {
        const std::lock_guard guard(mutex_);
        settings_.erase(name);
    }

private:
    mutable std::mutex mutex_;
    std::map<std::string, Setting, std::less<>> settings_;
};

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string textOf(const std::string& path) {
    try {
        return HUTFile::readFile(path);
    } catch (const HEXAlgException& failure) {
        throw HEXAlgException(std::string("The parameter file cannot be read: ") + failure.what());
    }
}

std::optional<Setting> findInFile(const std::string& path, std::string_view name) {
    std::istringstream file(textOf(path));
    std::optional<Setting> found;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        const std::string_view text = trimmed(std::string_view(line).substr(0, line.find('#')));
        if (text.empty()) continue;
        const std::string place = path + ":" + std::to_string(number);
        const auto equals = text.find('=');
        if (equals == std::string_view::npos)
            throw HEXAlgException(place + ": expected 'name = value', found '" + std::string(text) + "'");
        if (trimmed(text.substr(0, equals)) == name)
            found = Setting{std::string(trimmed(text.substr(equals + 1))), place};
    }
    return found;
}

std::optional<Setting> find(std::string_view name) {
    if (auto set = ProgramSettings::ofProcess().find(name)) return set;
    const char* path = std::getenv("KP_PARAM_FILE");
    if (path == nullptr || *path == '\0') return std::nullopt;
    return findInFile(path, name);
}

}  // namespace

bool HPAParamMgr::getBool(std::string_view name, bool defaultValue) {
    const std::optional<Setting> setting = find(name);
    if (!setting) return defaultValue;
    constexpr std::array words = {"false", "true", "no", "yes", "0", "1"};
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (HSTStringUtils::equalsIgnoreCase(setting->value, words[i])) return i % 2 == 1;
    }
    throw HEXAlgException(setting->place + ": the parameter '" + std::string(name) +
                          "' must be true or false, not '" + setting->value + "'");
}

void HPAParamMgr::setBool(const std::string& name, bool value) {
    ProgramSettings::ofProcess().set(name, {value ? "true" : "false", "the program"});
}

void HPAParamMgr::unset(const std::string& name) {
    ProgramSettings::ofProcess().unset(name);
}
