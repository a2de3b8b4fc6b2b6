#include "cli/WatchState.h"

#include <array>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

namespace reelsweep {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<std::string_view, 4> stageWords = {"none", "begun", "tidied", "failed"};

Json valueOf(const FileIdentity& file) {
    if (!file.known()) return nullptr;
    return {file.device, file.inode, file.bytes, file.modifiedSeconds, file.modifiedNanoseconds};
}

FileIdentity identityOf(const Json& value) {
    FileIdentity file;
    if (value.is_null()) return file;
    value.at(0).get_to(file.device);
    value.at(1).get_to(file.inode);
    value.at(2).get_to(file.bytes);
    value.at(3).get_to(file.modifiedSeconds);
    value.at(4).get_to(file.modifiedNanoseconds);
    return file;
}

// Names of files need not be UTF-8, and JSON must be.
Json nameValue(const std::string& name) {
    Json bytes = Json::array();
    for (const char byte : name) bytes.push_back(static_cast<unsigned char>(byte));
    return bytes;
}

bool isPlain(const std::string& name) {
    for (const char byte : name)
        if (static_cast<unsigned char>(byte) >= 0x80) return false;
    return true;
}

std::string nameOf(const Json& value) {
    if (value.is_string()) return value.get<std::string>();
    std::string name;
    for (const Json& byte : value) name += static_cast<char>(byte.get<int>());
    return name;
}

}  // namespace

Result<WatchState> WatchState::load(const std::string& outputFolder) {
    WatchState state(outputFolder + "/.reelsweep-watch.json");
    std::ifstream file(state.path_, std::ios::binary);
    if (!file.is_open()) return state;
    const std::string text(std::istreambuf_iterator<char>(file), {});
    try {
        const Json values = Json::parse(text);
        for (const Json& value : values.at("files")) {
            Entry entry;
            const std::string stage = value.at("stage").get<std::string>();
            for (std::size_t i = 0; i < stageWords.size(); ++i)
                if (stage == stageWords[i]) entry.stage = static_cast<Stage>(i);
            entry.input = identityOf(value.at("input"));
            entry.output = identityOf(value.at("output"));
            state.entries_.emplace(nameOf(value.at("name")), entry);
        }
    } catch (const Json::exception& error) {
        return Failure{FailureCode::inputInvalid,
                       "cannot be made out; without it every file would be tidied again",
                       state.path_,
                       0,
                       0,
                       "",
                       error.what()};
    }
    return state;
}

WatchState::Doing WatchState::doing(const std::string& name, const FileIdentity& input) const {
    const auto found = entries_.find(name);
    if (found == entries_.end() || found->second.input != input) return Doing::open;
    switch (found->second.stage) {
        case Stage::tidied: return Doing::tidied;
        case Stage::failed: return Doing::failed;
        case Stage::none:
        case Stage::begun: break;
    }
    return Doing::open;
}

bool WatchState::isOwnResult(const std::string& name, const FileIdentity& output) const {
    const auto found = entries_.find(name);
    return found != entries_.end() && output.known() && found->second.output == output;
}

Outcome WatchState::begin(const std::string& name, const FileIdentity& input,
                          const FileIdentity& output) {
    entries_[name] = {Stage::begun, input, output};
    return save();
}

Outcome WatchState::finish(const std::string& name, Doing doing, const FileIdentity& output) {
    Entry& entry = entries_[name];
    entry.stage = doing == Doing::tidied   ? Stage::tidied
                  : doing == Doing::failed ? Stage::failed
                                           : Stage::none;
    entry.output = output;
    return save();
}

Outcome WatchState::forget(const std::string& name) {
    entries_.erase(name);
    return save();
}

Outcome WatchState::save() const {
    Json files = Json::array();
    for (const auto& [name, entry] : entries_)
        files.push_back({{"name", isPlain(name) ? Json(name) : nameValue(name)},
                         {"stage", stageWords[static_cast<std::size_t>(entry.stage)]},
                         {"input", valueOf(entry.input)},
                         {"output", valueOf(entry.output)}});
    AtomicFile file(path_, Overwrite::always);
    if (Outcome opened = file.open(); !opened) return opened;
    file.write(Json{{"format", "reelsweep-watch"}, {"files", std::move(files)}}.dump(1) + "\n");
    return file.commit();
}

}  // namespace reelsweep
