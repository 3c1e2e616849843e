#include "probe/answer.h"

#include "probe/missing.h"

#include <nlohmann/json.hpp>

namespace probe {

namespace {

using Json = nlohmann::ordered_json;

Json driverJson(const Answer &answer)
{
    if (answer.path.empty())
        return nullptr;
    return {{"path", answer.path},
            {"size", answer.size},
            {"sha256", answer.sha256},
            {"library", answer.elf.isElf && answer.elf.isLibrary},
            {"bits", answer.elf.bits},
            {"architecture", answer.elf.architecture},
            {"fits", answer.elf.fitsThisProcess},
            {"needed", answer.elf.needed},
            {"missing_libraries", answer.missingLibraries}};
}

Json placesJson(const Answer &answer)
{
    Json places = Json::array();
    for (const Place &place : answer.places)
        places.push_back({{"path", place.path}, {"why", place.why}, {"found", place.found}});
    return places;
}

Json missingJson(const Answer &answer)
{
    Json missing = Json::array();
    for (const std::string &name : answer.missingFunctions)
        missing.push_back({{"name", name}, {"without", withoutFunction(name)}});
    return missing;
}

Json devicesJson(const Answer &answer)
{
    Json devices = Json::array();
    for (const Device &device : answer.devices)
        devices.push_back({{"index", device.index},
                           {"kind", device.kind},
                           {"name", kindName(device.kind, lab::Audience::program)},
                           {"board", device.board},
                           {"info", device.info},
                           {"type", device.type},
                           {"vid", device.vid},
                           {"pid", device.pid},
                           {"xp", device.xp},
                           {"xt", device.xt},
                           {"xl", device.xl},
                           {"record", device.record}});
    return devices;
}

Json endingJson(const Ending &ending)
{
    constexpr const char *names[] = {"not_run", "whole", "refused", "crashed", "exited", "hung"};
    return {{"ended", names[static_cast<int>(ending.kind)]},
            {"step", ending.step},
            {"cause", ending.cause},
            {"status", ending.status}};
}

Json holdersJson(const Answer &answer)
{
    Json holders = Json::array();
    for (const Holder &holder : answer.holders)
        holders.push_back({{"process", holder.process}, {"program", holder.program}});
    return holders;
}

Json permissionsJson(const Answer &answer)
{
    Json permissions = Json::array();
    for (const auto &[path, state] : answer.permissions)
        permissions.push_back({{"path", path}, {"state", state}});
    return permissions;
}

} // namespace

std::string answerJson(const Answer &answer)
{
    const Verdict verdict = verdictOf(answer, lab::Audience::program);
    const Reports &reports = answer.reports;
    const Json json{{"version", 1},
                    {"ready", verdict.isReady},
                    {"verdict", verdict.text},
                    {"driver", driverJson(answer)},
                    {"places", placesJson(answer)},
                    {"functions", answer.elf.functions},
                    {"missing_functions", missingJson(answer)},
                    {"result", endingJson(answer.ending)},
                    {"driver_version", answer.version.empty() ? Json(nullptr) : Json(answer.version)},
                    {"lab_version", LANTERNIX_VERSION},
                    {"qt_version", answer.qt},
                    {"asked", answer.isAsked},
                    {"attached", answer.attached ? Json(*answer.attached) : Json(nullptr)},
                    {"attach_s", answer.attachSeconds},
                    {"device_count", answer.deviceCount ? Json(*answer.deviceCount) : Json(nullptr)},
                    {"devices", devicesJson(answer)},
                    {"reports",
                     {{"count", reports.count},
                      {"boards", reports.boards},
                      {"board", reports.board},
                      {"after_s", reports.after},
                      {"first", reports.first},
                      {"listened_s", reports.listened}}},
                    {"holders", holdersJson(answer)},
                    {"recorded", answer.isRecorded},
                    {"permissions", permissionsJson(answer)}};
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace probe
