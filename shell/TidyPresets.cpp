#include "shell/TidyPresets.h"

#include "platform/Platform.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

namespace reelsweep {

namespace {

using Json = nlohmann::json;

constexpr const char* presetsKey = "optionPresets";
constexpr const char* rulesKey = "tidyRules";
constexpr const char* passesKey = "passes";

std::vector<std::string> textsOf(const PropertyList* value) {
    std::vector<std::string> texts;
    if (const auto* const array = value ? value->as<PropertyList::Array>() : nullptr)
        for (const PropertyList& item : *array)
            if (const auto* const text = item.as<std::string>()) texts.push_back(*text);
    return texts;
}

PropertyList listOf(const std::vector<std::string>& texts) {
    return PropertyList(PropertyList::Array(texts.begin(), texts.end()));
}

PropertyList::Dictionary dictionaryOf(const TidyRules& rules) {
    PropertyList::Dictionary values;
    for (const RuleRow& row : ruleTable())
        if (!row.of(rules).empty()) values.emplace(row.key, listOf(row.of(rules)));
    return values;
}

TidyRules rulesOf(const PropertyList& values) {
    TidyRules rules;
    for (const RuleRow& row : ruleTable()) row.list(rules) = textsOf(values.find(row.key));
    return rules;
}

PropertyList::Dictionary storedPresets() {
    const auto stored = Platform::current().userDefaults->objectForKey(presetsKey);
    const auto* const presets = stored ? stored->as<PropertyList::Dictionary>() : nullptr;
    return presets ? *presets : PropertyList::Dictionary();
}

TidyPreset presetOf(const std::string& name, const PropertyList& value) {
    const bool isDictionary = value.as<PropertyList::Dictionary>() != nullptr;
    TidyPreset preset{name, textsOf(isDictionary ? value.find(passesKey) : &value), {}, true};
    if (isDictionary) preset.rules = rulesOf(value);
    return preset;
}

// Reads a preset file, and knows where in it something stands.
class PresetFile {
public:
    explicit PresetFile(const std::string& path) : path_(path) {}

    Result<TidyPreset> read() {
        std::ifstream file(path_, std::ios::binary);
        text_.assign(std::istreambuf_iterator<char>(file), {});
        if (!file.is_open() || file.bad())
            return Failure{FailureCode::inputUnreadable, std::strerror(errno), path_};
        Json values;
        try {
            values = Json::parse(text_);
        } catch (const Json::parse_error& error) {
            return invalid("is no valid JSON", error.byte > 0 ? error.byte - 1 : 0);
        }
        if (!values.is_object()) return invalid("a preset is an object: {\"passes\": [...]}", 0);
        TidyPreset preset;
        for (const auto& [key, value] : values.items())
            if (Outcome taken = take(preset, key, value); !taken) return taken.failure();
        return preset;
    }

private:
    Failure invalid(std::string message, std::size_t place) const {
        const auto line = std::count(text_.begin(), text_.begin() + static_cast<long>(place), '\n');
        return {FailureCode::inputInvalid, std::move(message), path_, static_cast<long>(line) + 1};
    }

    std::size_t placeOf(const std::string& key) const {
        const std::size_t place = text_.find(Json(key).dump());
        return place == text_.npos ? 0 : place;
    }

    Outcome take(TidyPreset& preset, const std::string& key, const Json& value) const {
        if (key == "name" && value.is_string()) {
            preset.name = value.get<std::string>();
            return Done{};
        }
        std::vector<std::string>* list = key == passesKey ? &preset.passes : nullptr;
        for (const RuleRow& row : ruleTable())
            if (key == row.key) list = &row.list(preset.rules);
        if (!list) return invalid("unknown key \"" + key + "\"", placeOf(key));
        const bool isTexts =
            value.is_array() && std::all_of(value.begin(), value.end(),
                                            [](const Json& item) { return item.is_string(); });
        if (!isTexts) return invalid("\"" + key + "\" must be a list of texts", placeOf(key));
        *list = value.get<std::vector<std::string>>();
        return Done{};
    }

    std::string path_;
    std::string text_;
};

}  // namespace

std::vector<TidyPreset> builtInPresets() {
    return {{"Picture turnover", defaultPasses()},
            {"Sound turnover", {"removeDisabledAudioClips", "removeSilentAudio"}},
            {"Everything", allPasses()}};
}

std::vector<TidyPreset> tidyPresets() {
    std::vector<TidyPreset> all = builtInPresets();
    for (const auto& [name, value] : storedPresets()) all.push_back(presetOf(name, value));
    return all;
}

std::error_code storePreset(const TidyPreset& preset) {
    PropertyList::Dictionary presets = storedPresets();
    PropertyList::Dictionary values = dictionaryOf(preset.rules);
    // Without rules it is what earlier versions read, too.
    if (values.empty()) {
        presets[preset.name] = listOf(preset.passes);
    } else {
        values.emplace(passesKey, listOf(preset.passes));
        presets[preset.name] = PropertyList(std::move(values));
    }
    return Platform::current().userDefaults->setObject(presetsKey, std::move(presets));
}

std::error_code removeStoredPreset(const std::string& name) {
    PropertyList::Dictionary presets = storedPresets();
    presets.erase(name);
    return Platform::current().userDefaults->setObject(presetsKey, std::move(presets));
}

Result<TidyPreset> loadPresetFile(const std::string& path) { return PresetFile(path).read(); }

TidyRules storedRules() {
    const auto stored = Platform::current().userDefaults->objectForKey(rulesKey);
    return stored ? rulesOf(*stored) : TidyRules();
}

std::error_code storeRules(const TidyRules& rules) {
    return Platform::current().userDefaults->setObject(rulesKey, PropertyList(dictionaryOf(rules)));
}

}  // namespace reelsweep
